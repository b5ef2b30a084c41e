#pragma once
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvutils/ui/plugins/qvlicence.h"

/// A licence screen from a text file; docs/licence.md describes it.
///     file = { [ number | rule ] [ "#" comment ] } [ signature ], a line each
///     number = "licence" word
///     rule = ( "allow" | "deny" ) ( "installation" | pattern ) [ reason ]
///     signature = "signature" base64
/// The first rule that fits counts; where none does, the answer is yes. Until a file is loaded, and
/// after one that could not be, everything is refused.
class QVCORE_API qvLicenceFile : public qvLicence {
public:
    static constexpr std::size_t maxSize = 1 << 20;  ///< bytes of the file
    static constexpr std::size_t maxNumber = 64;     ///< characters of the licence number
    static constexpr std::size_t maxReason = 500;

    /// With a public key, files must be signed by its owner (see qvlicencesignature.h). Without one
    /// signatures are not looked at.
    explicit qvLicenceFile(std::string publicKey = "") : key_(std::move(publicKey)) {}

    /// False with an error that names the file and the line.
    bool load(const std::string& path);
    /// The text of a licence, or of a key for one; returns what is wrong with the file, nothing when
    /// all is well.
    static std::string read(const std::string& path, std::string& text);
    bool parse(const std::string& path, std::string_view text);

    std::string number() const override { return number_; }
    bool allowsInstallation(std::string& reason) const override;
    bool allowsPlugin(const std::string& file, std::string& reason) const override;

private:
    struct Rule {
        bool allows;
        bool installation;
        std::string pattern;
        std::string reason;
    };

    bool parseLine(std::string_view line, std::string& problem);
    bool parseRule(const std::string& subject, bool quoted, bool allows, std::string_view rest,
                   std::string& problem);
    static bool answer(const Rule& rule, std::string& reason);
    bool refuse(const std::string& why);

    std::string key_;
    std::string number_ = "0";
    bool hasNumber_ = false;
    std::vector<Rule> rules_;
    /// Why everything is refused; empty when it is not.
    std::string unusable_ = "no licence file is loaded";
};
