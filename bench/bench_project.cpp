// A project with 100,000 notes: commands on it compared with a project of 1,000, and loading and
// saving it compared with pugixml and the standard streams.
#include <algorithm>
#include <ctime>
#include <fstream>
#include <functional>
#include <pugixml.hpp>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench/qvbench.h"
#include "qvutils/common/command/command_line.h"
#include "qvutils/common/diagnostics/diagnostics.h"
#include "qvutils/common/error/qverror.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/platform/process.h"
#include "qvutils/ui/nodes/qvnotesnode.h"
#include "qvutils/ui/project/qvprojman.h"

namespace {

constexpr int few = 1000;
constexpr int many = 100000;

/// The processor time of an action, which other programs of the machine disturb least.
double secondsOf(const std::function<void()>& action) {
    const std::clock_t start = std::clock();
    action();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

double median(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

class Commands : public QVCommandBase {
public:
    QVObject* FindInApp(const char*) override { return &getProjectManager(); }
    void run(const std::string& text) {
        if (!Execute(text.c_str())) exitfn("%s", qverr().chars());
    }
};

/// The nanoseconds of one command of each sort on a project of n notes; each sort is run on every
/// note, as a command file would.
struct CommandTimes {
    double add, find, rename, copy, remove, findAnywhere;
};

CommandTimes timeCommands(int n) {
    Commands commands;
    getProjectManager().ClearNodes();
    commands.run("app.addsubnode(\"projectTB\", \"p\")");
    const auto nameOf = [](char prefix, int i) {
        return std::string("\"").append(1, prefix).append(std::to_string(i)).append("\")");
    };
    const auto time = [&](const std::function<std::string(int)>& text) {
        std::vector<std::string> texts;
        for (int i = 0; i < n; ++i) texts.push_back("app.subnodes[1]." + text(i));
        return 1e9 / n * secondsOf([&] {
                   for (const std::string& t : texts) commands.run(t);
               });
    };
    std::vector<int> order(n);
    for (int i = 0; i < n; ++i) order[i] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(1));

    CommandTimes times;
    times.add = time([&](int i) { return "addsubnode(\"notesTB\", " + nameOf('n', i); });
    times.find = time([&](int i) { return "findnode(" + nameOf('n', i); });
    times.findAnywhere = time([&](int i) { return "findnode(" + nameOf('n', order[i]); });
    times.copy = time([&](int i) { return "findnode(" + nameOf('n', i) + ".copy()"; });
    times.rename =
        time([&](int i) { return "findnode(" + nameOf('n', i) + ".rename(" + nameOf('m', i); });
    times.remove = time([&](int i) { return "findnode(" + nameOf('m', i) + ".delete()"; });
    return times;
}

void compareCommands() {
    const struct {
        const char* what;
        double CommandTimes::*time;
        double goal;
    } rows[] = {{"add a note to 100,000", &CommandTimes::add, 2},
                {"find each of 100,000", &CommandTimes::find, 2},
                {"find and rename each", &CommandTimes::rename, 2},
                {"find and copy each", &CommandTimes::copy, 2},
                {"find and delete each", &CommandTimes::remove, 5},
                {"find each in random order (memory latency)", &CommandTimes::findAnywhere, 2}};
    // In turn, so that what else the machine does disturbs both alike.
    std::vector<CommandTimes> small, large;
    for (int run = 0; run < 5; ++run) {
        for (int i = 0; i < 5; ++i) small.push_back(timeCommands(few));
        large.push_back(timeCommands(many));
    }
    for (const auto& row : rows) {
        std::vector<double> smallTimes, largeTimes;
        for (const CommandTimes& t : small) smallTimes.push_back(t.*row.time);
        for (const CommandTimes& t : large) largeTimes.push_back(t.*row.time);
        qvAddRow(row.what, median(largeTimes), median(smallTimes), "the same in 1,000", row.goal,
                 "ns");
    }
}

/// A note of 1 KB.
const std::string& noteText() {
    static const std::string text = [] {
        std::string lines;
        for (int i = 0; i < 16; ++i) lines += std::string(63, static_cast<char>('a' + i)) + '\n';
        return lines;
    }();
    return text;
}

std::string noteName(int i) {
    return std::string("n").append(std::to_string(i));
}

void makeProject(int n) {
    getProjectManager().ClearNodes();
    getProjectManager().AddSubnode("projectTB", "p");
    qvProjectNode* project = getProjectManager().FindChild("p");
    for (int i = 0; i < n; ++i) {
        project->AddSubnode("notesTB", noteName(i).c_str());
        static_cast<qvNotesNode*>(project->getNodes()[i + 1])->setText(noteText().c_str());
    }
}

/// The tree as a program without nodes would hold it.
struct PlainNote {
    std::string name, text;
};

std::vector<PlainNote> plainTree(int n) {
    std::vector<PlainNote> notes;
    for (int i = 0; i < n; ++i) notes.push_back({noteName(i), noteText()});
    return notes;
}

void printTree(const std::string& path, const std::vector<PlainNote>& notes) {
    std::ofstream out(path, std::ios::binary);
    out << "begin <projectTB(1.0)> \"p\"\n";
    for (const PlainNote& note : notes) {
        out << "  begin <notesTB(1.0)> \"" << note.name << "\"\n";
        for (std::size_t at = 0, end; at < note.text.size(); at = end + 1) {
            end = note.text.find('\n', at);
            out << "  >" << std::string_view(note.text).substr(at, end - at) << '\n';
        }
        out << "end\n";
    }
    out << "end\n";
}

void writeXml(const std::string& path, int n) {
    pugi::xml_document document;
    pugi::xml_node project = document.append_child("project");
    project.append_attribute("name") = "p";
    for (int i = 0; i < n; ++i) {
        pugi::xml_node note = project.append_child("notes");
        note.append_attribute("name") = noteName(i).c_str();
        note.append_child(pugi::node_pcdata).set_value(noteText().c_str());
    }
    document.save_file(path.c_str(), "", pugi::format_raw);
}

struct FileTimes {
    double saveNew, save, print, load, parse, list;
};

FileTimes timeFiles(const std::string& directory, int n) {
    const std::string ours = directory + "/p.prj";
    const std::string printed = directory + "/printed.prj";
    const std::string xml = directory + "/p.xml";
    writeXml(xml, n);
    const auto project = [] { return static_cast<qvProject*>(getProjectManager().FindChild("p")); };
    std::vector<double> saveNew, save, print, load, parse, list;
    for (int run = 0; run < 5; ++run) {
        makeProject(n);
        saveNew.push_back(secondsOf([&] { project()->SaveToFile(ours.c_str()); }));
        getProjectManager().ClearNodes();
        {
            const std::vector<PlainNote> notes = plainTree(n);
            print.push_back(secondsOf([&] { printTree(printed, notes); }));
        }
        load.push_back(secondsOf([&] { getProjectManager().ProjectOpen(ours.c_str(), ""); }));
        parse.push_back(secondsOf([&] {
            pugi::xml_document document;
            document.load_file(xml.c_str());
        }));
        save.push_back(secondsOf([&] { project()->SaveToFile(ours.c_str()); }));
        list.push_back(secondsOf([&] {
            Commands commands;
            commands.run("help app.subnodes[1]; app.subnodes[1].subnodes");
        }));
        if (qverr()) exitfn("%s", qverr().chars());
    }
    return {median(saveNew), median(save),  median(print),
            median(load),    median(parse), median(list)};
}

void compareFiles() {
    // In memory, so that the disk does not count: there nothing is gained by syncing.
    const bool hasShm = qvplatform::fileSystem().status("/dev/shm").isDirectory();
    const std::string directory =
        (hasShm ? "/dev/shm" : qvplatform::temporaryDirectory()) + "/qvbench_project";
    qvplatform::fileSystem().makeDirectory(directory, true);
    const FileTimes tenth = timeFiles(directory, many / 10);
    const FileTimes whole = timeFiles(directory, many);
    qvAddRow("load 100,000 notes of 1 KB", 1e3 * whole.load, 1e3 * whole.parse, "pugixml's DOM", 2,
             "ms");
    qvAddRow("save them when just made (file in memory)", 1e3 * whole.saveNew, 1e3 * whole.print,
             "std::ofstream", 1, "ms");
    qvAddRow("save them again", 1e3 * whole.save, 1e3 * whole.print, "std::ofstream", 1, "ms");
    const char* rival = "a tenth of them, times 10";
    qvAddRow("load, linear", 1e3 * whole.load, 1e4 * tenth.load, rival, 1.5, "ms");
    qvAddRow("save, linear", 1e3 * whole.save, 1e4 * tenth.save, rival, 1.5, "ms");
    qvAddRow("list, linear", 1e3 * whole.list, 1e4 * tenth.list, rival, 1.5, "ms");
    qvplatform::fileSystem().removeTree(directory);
}

}  // namespace

int main(int argc, char** argv) {
    registerProjectNode();
    registerNotesNode();
    setOutputHook([](int, const char*) {});
    compareCommands();
    compareFiles();
    return qvRunBenchmarks(argc, argv, {});
}
