#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/ui/plugins/qvlicencefile.h"
#include "qvutils/ui/plugins/qvlicencesignature.h"

namespace {

std::string exampleInDocument() {
    std::stringstream all;
    all << std::ifstream(QV_LICENCE_DOCUMENT).rdbuf();
    const std::string text = all.str();
    const std::string fence = "```licence\n";
    const std::size_t start = text.find(fence) + fence.size();
    return text.substr(start, text.find("```", start) - start);
}

std::string reasonAgainst(const qvLicence& licence, const char* file) {
    std::string reason;
    return licence.allowsPlugin(file, reason) ? "" : reason;
}

TEST(Licence, the_default_allows_everything_and_a_file_nothing_until_it_is_loaded) {
    std::string reason;
    EXPECT_EQ(qvLicence().number(), "0");
    EXPECT_TRUE(qvLicence().allowsInstallation(reason));
    EXPECT_TRUE(qvLicence().allowsPlugin("any.plugin", reason));
    EXPECT_FALSE(qvLicenceFile().allowsInstallation(reason));
    EXPECT_EQ(reason, "no licence file is loaded");
}

TEST(Licence, the_first_rule_that_fits_counts) {
    qvLicenceFile licence;
    ASSERT_TRUE(licence.parse("l", exampleInDocument())) << qverr().chars_and_reset();
    std::string reason;
    EXPECT_EQ(licence.number(), "OPT-2041-7");
    EXPECT_TRUE(licence.allowsInstallation(reason));
    EXPECT_EQ(reasonAgainst(licence, "slabguide.plugin"), "");
    EXPECT_EQ(reasonAgainst(licence, "SlabGuide.plugin"), "");
    EXPECT_EQ(reasonAgainst(licence, "beta.plugin"), "not before the next release");
    EXPECT_EQ(reasonAgainst(licence, "BETA2.PLUGIN"), "not before the next release");
    EXPECT_EQ(reasonAgainst(licence, "xbeta.plugin"), "this licence covers the slab solver alone");
}

TEST(Licence, patterns_match_as_a_whole_and_quickly) {
    const struct {
        const char* pattern;
        const char* name;
        bool fits;
    } rows[] = {{"*", "", true},
                {"?", "", false},
                {"a*b*c", "axxbxxbc", true},
                {"a*b*c", "axxbxxbcd", false},
                {"a?c", "abc", true},
                {"a?c", "ac", false},
                {"\"a b\"", "a b", true},
                {"\"installation\"", "installation", true},
                {"**", "anything", true},
                {"installation", "installation", false}};
    for (const auto& row : rows) {
        qvLicenceFile licence;
        ASSERT_TRUE(licence.parse("l", std::string("\xEF\xBB\xBF deny ") + row.pattern + "\r\n"));
        EXPECT_EQ(reasonAgainst(licence, row.name) != "", row.fits) << row.pattern << row.name;
    }
    std::string stars = "deny ";
    for (int i = 0; i < 2000; ++i) stars += "a*";
    qvLicenceFile licence;
    ASSERT_TRUE(licence.parse("l", stars + "b"));
    EXPECT_EQ(reasonAgainst(licence, std::string(20000, 'a').c_str()), "");
}

// Made by another program, from a secret key of 31 zeros and a seven.
const std::string secretKey =
    "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAc+4qinKDyy/XKJQ9qhJ+8J5IMHGotLxpm6RSLwmxTP3g==";
const std::string publicKey = "PuKopyg8sv1yiUPaoSfvCeSDBxqLS8aZukUi8JsUz94=";
const std::string signedLicence =
    "licence A-1\ndeny *.plugin\nsignature "
    "A69RVpiys4FVkHeEdz7yESHv5EW/gIhmVpvP7mO5MZcFW6rTp4JXPQe4eUAv8YrKptZN9q/xv28zwSFP5fRWBg==\n";

TEST(LicenceSignature, holds_for_the_text_and_the_key_it_was_made_for) {
    EXPECT_EQ(qvPublicLicenceKey(secretKey), publicKey);
    EXPECT_EQ(qvSignLicence("licence A-1\ndeny *.plugin", secretKey + "\n"), signedLicence);
    EXPECT_EQ(qvSignLicence(signedLicence, secretKey), signedLicence);
    std::string mailed = "\xEF\xBB\xBF";
    for (char c : signedLicence) mailed += c == '\n' ? std::string("\r\n") : std::string(1, c);
    for (const std::string& text : {signedLicence, mailed, signedLicence + "\n \n"}) {
        qvLicenceFile licence(publicKey);
        EXPECT_TRUE(licence.parse("l", text)) << qverr().chars_and_reset();
        EXPECT_EQ(licence.number(), "A-1");
        EXPECT_NE(reasonAgainst(licence, "x.plugin"), "");
    }
    EXPECT_TRUE(qvLicenceFile().parse("l", signedLicence));

    const std::string ownSecret = qvMakeLicenceKey();
    const std::string own = qvPublicLicenceKey(ownSecret);
    EXPECT_TRUE(qvLicenceFile(own).parse("l", qvSignLicence(signedLicence, ownSecret)));
    EXPECT_EQ(qvSignLicence(signedLicence, publicKey), "");
}

TEST(LicenceSignature, allows_nothing_where_it_does_not_fit) {
    const auto expectRefused = [](const std::string& text, const std::string& key,
                                  const std::string& why) {
        qvLicenceFile licence(key);
        EXPECT_FALSE(licence.parse("l", text)) << text;
        EXPECT_EQ(std::string(qverr().chars_and_reset()).find("licence file \"l\" " + why), 0u);
        EXPECT_NE(reasonAgainst(licence, "x"), "");
        EXPECT_EQ(licence.number(), "0");
    };
    for (std::size_t i = 0; i + 1 < signedLicence.size(); ++i) {
        std::string changed = signedLicence;
        changed[i] ^= 1;
        expectRefused(changed, publicKey, "");
    }
    expectRefused("licence A-1\ndeny *.plugin\n", publicKey, "is not signed");
    expectRefused("", publicKey, "is not signed");
    expectRefused(signedLicence + "allow *\n", publicKey, "is not signed");
    expectRefused("allow *\n" + signedLicence, publicKey, "was changed");
    expectRefused("signature\n", publicKey, "has a damaged signature");
    expectRefused(signedLicence, qvPublicLicenceKey(qvMakeLicenceKey()), "was changed");
    for (const std::string& key : {std::string("x"), secretKey, publicKey.substr(1)})
        expectRefused(signedLicence, key, "cannot be checked");
}

TEST(Licence, a_file_that_is_wrong_anywhere_allows_nothing_and_names_the_line) {
    const struct {
        const char* text;
        const char* problem;
    } rows[] = {
        {"licence A\nlicence B\n", "line 2: a second licence number \"B\""},
        {"licence\n", "line 1: nothing follows \"licence\""},
        {"licence \"a b\"\n", "line 1: \"a b\" is no licence number: "},
        {"licence A B\n", "line 1: \"B\" after the licence number"},
        {"\n\n permit x\n", "line 3: \"permit\" is none of licence, allow, deny"},
        {"Deny x", "line 1: \"Deny\" is none of licence, allow, deny"},
        {"deny # all", "line 1: nothing follows \"deny\""},
        {"deny \"\"", "line 1: an empty name"},
        {"deny x reason", "line 1: the reason \"reason\" is not in quotes"},
        {"deny x \"reason", "line 1: a quote does not end"},
        {"deny x \"reason\" y", "line 1: \"y\" after the reason"},
        {"licence 0\nlicence 0\n", "line 2: a second licence number \"0\""},
        {"deny x \"\033[2J\"", "line 1: characters that are no text"},
        {"signature x\ndeny x\n", "line 1: something follows the signature"},
    };
    const std::string longNumber = "licence " + std::string(qvLicenceFile::maxNumber + 1, '7');
    const std::string longReason =
        "deny x \"" + std::string(qvLicenceFile::maxReason + 1, 'r') + "\"";
    const auto expectRefused = [](const std::string& text, const std::string& problem) {
        qvLicenceFile licence;
        EXPECT_FALSE(licence.parse("my.licence", text));
        const std::string error = qverr().chars_and_reset();
        EXPECT_EQ(error.find("licence file \"my.licence\", " + problem), 0u) << error;
        EXPECT_EQ(reasonAgainst(licence, "x.plugin"), error);
        std::string reason;
        EXPECT_FALSE(licence.allowsInstallation(reason));
        EXPECT_EQ(licence.number(), "0");
    };
    for (const auto& row : rows) expectRefused(row.text, row.problem);
    expectRefused(longNumber, "line 1: ");
    expectRefused(longReason, "line 1: a reason of more than");
    qvLicenceFile licence;
    EXPECT_FALSE(licence.load("no/such/file"));
    EXPECT_NE(std::string(qverr().chars_and_reset()).find("cannot be read"), std::string::npos);
}

}  // namespace
