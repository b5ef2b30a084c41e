#pragma once

#include "qvutils/common/variables/qvnamespace.h"

/// Holds the locks of a namespace and of all its parents.
class qvNameSpaceLock {
public:
    explicit qvNameSpaceLock(const qvNameSpace& space) : first_(space) {
        for (const qvNameSpace* s = &first_; s; s = s->parent_) s->lock_.Enter();
    }
    ~qvNameSpaceLock() {
        const qvNameSpace* next;
        for (const qvNameSpace* s = &first_; s; s = next) {
            next = s->parent_;
            s->lock_.Exit();
        }
    }
    qvNameSpaceLock(const qvNameSpaceLock&) = delete;
    qvNameSpaceLock& operator=(const qvNameSpaceLock&) = delete;

private:
    const qvNameSpace& first_;
};

/// Holds the lock of a variable's namespace, if it has one.
class qvVariableLock {
public:
    explicit qvVariableLock(qvCritSection* lock) : lock_(lock) {
        if (lock_) lock_->Enter();
    }
    ~qvVariableLock() {
        if (lock_) lock_->Exit();
    }
    qvVariableLock(const qvVariableLock&) = delete;
    qvVariableLock& operator=(const qvVariableLock&) = delete;

private:
    qvCritSection* lock_;
};
