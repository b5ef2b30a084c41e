#pragma once
#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/platform/qvexport.h"
#include "qvutils/common/text/qvstring.h"
#include "qvutils/ui/project/neededplugins.h"

/// A project file taken apart: the project's block, and what stands around it.
///     file = comments [ header block ] comments project block rest
struct QVCORE_API qvProjectFile {
    QVString before_header;
    QVString header;
    QVString before_project;
    TextBlock block;
    QVString after_project;

    /// False when the file cannot be read, with an error, or holds no project.
    bool load(const char* path);
    bool parse(FBuff& text);
};

/// Writes the header block: which application wrote the file, on what machine and when, and the
/// plug-ins that it needs. Comments of the block `oldText` are kept.
bool writeProjectFileHeader(TextBlock& block, const QVString& oldText,
                            const qvNeededPlugins& plugins);
