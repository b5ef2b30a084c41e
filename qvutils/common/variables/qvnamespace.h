#pragma once

#include "qvutils/common/events/qvevent.h"
#include "qvutils/common/platform/qvexport.h"

/// The variables that a project and its objects share. The namespace is where they live and change
/// together: it nests, announces changes on an event source and counts them.
class QVCORE_API qvNameSpace : public qvEventHandler {
public:
    qvNameSpace() = default;
    explicit qvNameSpace(qvNameSpace* parent) : parent_(parent) {}
    qvNameSpace(const qvNameSpace&) = delete;
    qvNameSpace& operator=(const qvNameSpace&) = delete;
    virtual ~qvNameSpace();

    /// Look-ups may fall through to the parent, which is referenced, not owned.
    qvNameSpace* getParent() const { return parent_; }
    void setParent(qvNameSpace* parent);

    qvEventSource& GetEventSource() { return source_; }

    /// Called before blocks that may define or use variables are read: what was computed before
    /// counts as out of date.
    void PrepareToLoad();

    void OnEvent(qvEvent& event, int tag) override;

protected:
    /// Rises with every change; a value cached at an earlier time is stale.
    int GetPseudoTime() const { return pseudo_time_; }

private:
    qvNameSpace* parent_ = nullptr;
    int pseudo_time_ = 0;
    qvEventSource source_;
};
