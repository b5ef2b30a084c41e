#pragma once

#include "qvutils/common/containers/list.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"

/// Divides a text at delimiter characters. Empty tokens are left out; with `keepDelimiters` each
/// delimiter is a token of its own.
class QVCORE_API QVStringTokenizer {
public:
    QVStringTokenizer(QVText text, QVText delimiters, bool keepDelimiters = false);

    bool HasMoreTokens() const { return cursor_ <= tokens_.size(); }
    /// An empty string when there are no more.
    QVString GetNextToken();

private:
    List<QVString> tokens_;
    int cursor_ = 1;
};
