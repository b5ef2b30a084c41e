// Checks that no file of the house includes one of a higher floor.
//
//     check_layers ROOT    (ROOT/tools/layers.txt is the table of floors)
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Room {
    int floor = 0;
    std::set<std::string> mayAlsoUse;
};

using House = std::map<std::string, Room>;

int problems = 0;

void complain(const std::string& place, const std::string& what) {
    std::cerr << place << ": " << what << "\n";
    ++problems;
}

House readHouse(const fs::path& table) {
    House house;
    std::ifstream file(table);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        Room room;
        std::string name;
        if (!(words >> room.floor >> name)) complain(table.string(), "cannot read: " + line);
        for (std::string other; words >> other;) room.mayAlsoUse.insert(other);
        house[name] = room;
    }
    if (house.empty()) complain(table.string(), "no rooms");
    return house;
}

/// The room that holds a file: the folder it is in, or one further out.
std::string roomOf(const House& house, const std::string& file) {
    for (fs::path folder = fs::path(file).parent_path(); !folder.empty();
         folder = folder.parent_path()) {
        if (house.contains(folder.generic_string())) return folder.generic_string();
    }
    return {};
}

/// The file between quotes in an include line; empty for every other line.
std::string includedFile(const std::string& line) {
    std::istringstream text(line);
    std::string file;
    char mark = 0;
    if (!(text >> mark) || mark != '#' || !(text >> file) || file.rfind("include", 0) != 0) {
        return {};
    }
    const std::size_t open = line.find('"');
    if (open == line.npos) return {};
    return line.substr(open + 1, line.find('"', open + 1) - open - 1);
}

void checkInclude(const House& house, const std::string& place, const std::string& room,
                  const std::string& included) {
    if (included.find('/') == included.npos || included[0] == '.') {
        return complain(place, "\"" + included + "\" is not written from the root");
    }
    const std::string target = roomOf(house, included);
    if (target.empty()) return complain(place, "\"" + included + "\" is in no known room");
    const Room& from = house.at(room);
    const bool allowed = target == room || house.at(target).floor < from.floor ||
                         from.mayAlsoUse.contains(target);
    if (!allowed) complain(place, room + " may not use " + target);
}

void checkFile(const House& house, const fs::path& root, const fs::path& path) {
    const std::string file = fs::relative(path, root).generic_string();
    const std::string room = roomOf(house, file);
    if (room.empty()) return complain(file, "is in no known room");
    const bool mayKnowTheSystem = room == "qvutils/common/platform";
    std::ifstream text(path);
    int number = 0;
    for (std::string line; std::getline(text, line);) {
        const std::string place = file + ":" + std::to_string(++number);
        const std::string included = includedFile(line);
        if (!included.empty()) checkInclude(house, place, room, included);
        if (!mayKnowTheSystem && line.find("_WIN32") != line.npos) {
            complain(place, "only the platform room knows the operating system");
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: check_layers ROOT\n";
        return 2;
    }
    const fs::path root = argv[1];
    const House house = readHouse(root / "tools/layers.txt");
    int files = 0;
    for (const char* wing : {"qvutils", "apps", "plot", "plugins"}) {
        if (!fs::exists(root / wing)) continue;
        for (const auto& entry : fs::recursive_directory_iterator(root / wing)) {
            const fs::path kind = entry.path().extension();
            if (kind != ".h" && kind != ".cpp") continue;
            checkFile(house, root, entry.path());
            ++files;
        }
    }
    if (files == 0) complain(root.string(), "no sources found");
    std::cout << files << " files checked, " << problems << " problems\n";
    return problems == 0 ? 0 : 1;
}
