#pragma once
#include <string>
#include <string_view>

#include "qvutils/common/platform/qvexport.h"

/// The signature of a licence file: its last line,
///     signature BASE64
/// is an Ed25519 signature (RFC 8032) of the text before it. A byte-order mark and carriage returns
/// at the ends of lines do not count, so that the file may go through mail. Keys are base64 too: 32
/// bytes that everybody may know, 64 bytes of a secret key, which has the public one in it.

struct qvLicenceText {
    std::string_view body;       ///< what is signed, as it stands in the file
    std::string_view signature;  ///< the line below it; empty in a file that is not signed
};
QVCORE_API qvLicenceText qvSplitLicence(std::string_view text);

/// False with a problem ("is not signed") unless `key` has signed the file.
QVCORE_API bool qvCheckLicenceSignature(const qvLicenceText& text, const std::string& key,
                                        std::string& problem);
/// The text with a signature, instead of one that it may have; empty when that is no secret key.
QVCORE_API std::string qvSignLicence(std::string_view text, const std::string& secretKey);
/// A new secret key; empty when the system cannot give random numbers.
QVCORE_API std::string qvMakeLicenceKey();
/// The public key of a secret one; empty when that is none.
QVCORE_API std::string qvPublicLicenceKey(const std::string& secretKey);
