#pragma once
#include <cstddef>
#include <memory>

namespace qvplatform {
class ChildProcess;
}

/// Hands on what a program prints as normal output.
class ScriptOutput {
public:
    /// Shows what there is by now, as far as it does not keep the caller from other work. A
    /// character whose end has not come yet is held back.
    void show(qvplatform::ChildProcess& process);
    /// Shows what was held back.
    void showRest();

private:
    void showBuffer(std::size_t length);

    std::unique_ptr<char[]> buffer_;
    std::size_t held_ = 0;  ///< bytes at the start of the buffer
};
