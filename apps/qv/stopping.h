#pragma once

/// Ctrl-C stops the operation that runs. A second one, or one when nothing runs, ends the program
/// at once, as does any other request to end.
void stopOperationsOnInterrupt();
/// For a program that ends when its operation does: other requests to end stop the operation too,
/// so that the end is an orderly one.
void stopOperationsOnRequest();

/// For a program that goes on until it is told to end. Ctrl-C stops the operation that runs, or,
/// when none does, asks the program to end; other requests do both. Asked again, it ends at once.
class StopWatch {
public:
    StopWatch();
    ~StopWatch();
    StopWatch(const StopWatch&) = delete;
    StopWatch& operator=(const StopWatch&) = delete;

    static bool stopRequested();
};
