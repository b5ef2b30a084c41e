#include "qvutils/ui/project/qvprojectfile.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/clock.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/project/bodyreader.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

constexpr TBlockSig headerSignature{"qvApplicationInfo", 1, 1};

void writeApplication(TextBlock& block) {
    qvAppServices& application = getProjectManager().services();
    const std::string text = application.versionAndLicence();
    const std::size_t blank = std::min(text.rfind(' '), text.size());
    const std::string version = text.substr(0, blank);
    const std::string licence = blank < text.size() ? text.substr(blank + 1) : "";
    block.AppendLine(application.applicationName() + ' ' + version +
                     " // applicationname applicationversion");
    block.AppendLine(licence + " // licensenumber");
}

void writeSystem(TextBlock& block) {
    int major = 0;
    int minor = 0;
    if (!qvplatform::systemVersion(major, minor)) return;
    const double megabytes =
        static_cast<double>(qvplatform::physicalMemory()) * (1.0 / 1024) * (1.0 / 1024);
    QVString line;
    line.sprintf("%d.%d (%d bit) %.2f // windowsversion RAM_in_MB ", major, minor, 64, megabytes);
    block.AppendLine(line.view());
}

void writeSaveTime(TextBlock& block) {
    const qvplatform::LocalTime now = qvplatform::localTime();
    QVString line;
    line.sprintf("%.2d/%.2d/%.4d %d:%.2d:%.2d // savedate(dd/mm/yyyy) savetime(hh:mm:ss)", now.day,
                 now.month, now.year, now.hour, now.minute, now.second);
    block.AppendLine(line.view());
}

}  // namespace

bool writeProjectFileHeader(TextBlock& block, const QVString& oldText,
                            const qvNeededPlugins& plugins) {
    block.StartWrite(headerSignature, "", oldText.Empty() ? nullptr : oldText.Chars());
    writeApplication(block);
    writeSystem(block);
    writeSaveTime(block);
    plugins.write(block);
    block.EndWrite();
    return !qverr();
}

bool qvProjectFile::load(const char* path) {
    FBuff text;
    return text.LoadFile(path) && parse(text);
}

bool qvProjectFile::parse(FBuff& text) {
    if (text.text().substr(0, 3) == "\xEF\xBB\xBF") text.setPosn(3);
    BodyReader reader(text, BodyReader::stopAtBadLine);
    if (!reader.next(block)) return false;
    before_project = std::string_view(reader.lead());
    if (std::string_view(block.getType()) == headerSignature.type) {
        before_header = before_project;
        header = block.text();
        if (!reader.next(block)) return false;
        before_project = std::string_view(reader.lead());
    }
    const std::string_view rest = text.text().substr(text.getPosn());
    if (rest.find_first_not_of(" \t\r\n") != rest.npos) after_project = rest;
    return true;
}
