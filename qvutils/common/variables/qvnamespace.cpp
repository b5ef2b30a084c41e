#include "qvutils/common/variables/qvnamespace.h"

qvNameSpace::~qvNameSpace() = default;

void qvNameSpace::setParent(qvNameSpace* parent) {
    parent_ = parent;
    ++pseudo_time_;
}

void qvNameSpace::PrepareToLoad() {
    ++pseudo_time_;
}

void qvNameSpace::OnEvent(qvEvent&, int) {}
