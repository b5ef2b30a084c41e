#pragma once
#include <functional>
#include <string>

#include "qvutils/common/platform/socket.h"

/// Sends one frame. `goOn` is called after each `waitMs` in which the other side took nothing; the
/// frame is given up when that has lasted `stallMs`, or when goOn() returns false. On failure
/// returns false and `message` tells why; a part of the frame may have gone then.
bool qvSendFrame(qvplatform::TcpSocket& socket, const void* data, std::size_t size, int waitMs,
                 int stallMs, const std::function<bool()>& goOn, std::string& message);
