#pragma once

/// The type and version of a text block. A plain value; `type` is not owned (signatures are usually
/// static members of the class that the block describes). In a wanted signature a negative minor
/// version stands for any.
struct TBlockSig {
    constexpr TBlockSig() = default;
    constexpr TBlockSig(const char* blockType, int majorVersion, int minorVersion)
        : type(blockType), major(majorVersion), minor(minorVersion) {}

    const char* type = "";
    int major = 0;
    int minor = 0;
};
