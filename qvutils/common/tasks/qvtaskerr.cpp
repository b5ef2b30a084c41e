#include "qvutils/common/tasks/qvtaskerr.h"

qvTaskErr::qvTaskErr(const char* message) : std::runtime_error(message) {}

qvTaskErr::~qvTaskErr() = default;
