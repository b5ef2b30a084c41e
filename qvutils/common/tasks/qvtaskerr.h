#pragma once
#include <stdexcept>

#include "qvutils/common/platform/qvexport.h"

/// What task and lock code throws; it keeps a copy of the message.
class QVCORE_API qvTaskErr : public std::runtime_error {
public:
    explicit qvTaskErr(const char* message);
    ~qvTaskErr() override;
    const char* chars() const { return what(); }
};
