#pragma once

/// The numbers that threads get; see qvTaskThreadId. Not for use outside this room.
namespace qvThreadNumbers {

/// The smallest that is free; -1 when all are in use.
int take();
void giveBack(int number);

}  // namespace qvThreadNumbers
