#pragma once

/// All of text blocks: buffers, blocks, signatures and the diagnostic text beside them.
#include "qvutils/common/blocks/fbuff.h"
#include "qvutils/common/blocks/signature.h"
#include "qvutils/common/blocks/tblocksig.h"
#include "qvutils/common/blocks/textblock.h"
#include "qvutils/common/blocks/valuetext.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
