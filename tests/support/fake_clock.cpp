#include "tests/support/fake_clock.h"

FakeClock::FakeClock(const qvplatform::LocalTime& start)
    : before_(qvplatform::setClock(this)), local_(start) {}

FakeClock::~FakeClock() { qvplatform::setClock(before_); }
