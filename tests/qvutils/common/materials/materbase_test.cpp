#include "qvutils/common/materials/materbase.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "tests/qvutils/common/materials/material_files.h"
#include "tests/support/captured_output.h"

namespace {

/// Writes a file and makes it look younger, however coarse the file system's clock.
void rewrite(const TempDirectory& directory, const std::string& name, const std::string& content) {
    static int seconds = 0;
    const std::string path = directory.write(name, content);
    std::filesystem::last_write_time(
        path, std::filesystem::last_write_time(path) + std::chrono::seconds(++seconds));
}

const char* const twoMaterials = "BEGIN a\nRIX_POLYX 1 2\nEND\nBEGIN b\nRIX_POLYX 1 3\nEND\n";

using MaterbaseTest = MaterialFiles;

}  // namespace

TEST_F(MaterbaseTest, a_file_is_loaded_once_and_goes_with_its_last_reference) {
    Materbase* base = load(twoMaterials);
    ASSERT_NE(base, nullptr) << qverr().chars();
    EXPECT_EQ(base->getNMaterials(), 2);
    EXPECT_EQ(LoadMaterbase(directory_.file("test.mat").c_str()), base);
    EXPECT_EQ(base->getRefCount(), 2);
    ChangeMaterbase(base, directory_.file("test.mat").c_str());
    EXPECT_EQ(base->getRefCount(), 2);
    base->UnRef();

    directory_.write("other.mat", file("BEGIN c\nEND\n"));
    ChangeMaterbase(base, directory_.file("other.mat").c_str());
    ASSERT_NE(base, nullptr);
    EXPECT_NE(base->MaterHandle("c", false), nullptr);
    ChangeMaterbase(base, directory_.file("missing.mat").c_str());
    EXPECT_EQ(base, nullptr);
    EXPECT_EQ("Could not find material file " + directory_.file("missing.mat") + "\n",
              qverr().chars());
}

TEST_F(MaterbaseTest, a_name_ends_before_its_bracket) {
    Materbase* base = load("begin GaAs(1.0) // bulk\nRIX_POLYX 1 3.4\nend\nBEGIN gaas\nEND\n");
    ASSERT_NE(base, nullptr) << qverr().chars();
    MaterB* material = base->MaterHandle("GaAs(0.3)", true);
    ASSERT_NE(material, nullptr);
    EXPECT_STREQ(material->getName(), "GaAs");
    EXPECT_EQ(material->getOwner(), base);
    EXPECT_EQ(base->MaterHandle("InP", false), nullptr);
    EXPECT_FALSE(qverr());
    EXPECT_EQ(base->MaterHandle("InP", true), nullptr);
    EXPECT_EQ(" Error:\n Material \"InP\" not found in\n database \"" +
                  directory_.file("test.mat") + "\" ",
              qverr().chars());
    base->UnRef();
}

TEST_F(MaterbaseTest, a_changed_file_is_read_again_in_place) {
    Materbase* base = load(twoMaterials);
    ASSERT_NE(base, nullptr);
    const MaterB* a = base->MaterHandle("a", true);
    const MaterB* b = base->MaterHandle("b", true);
    const std::string path = base->getFileName();
    CapturedOutput output;

    rewrite(directory_, "test.mat",
            file("BEGIN c\nRIX_POLYX 1 9\nEND\nBEGIN a\nRIX_POLYX 1 2.5\nEND\n"));
    EXPECT_TRUE(base->HasFileChanged());
    EXPECT_EQ(LoadMaterbase(path.c_str()), base);
    EXPECT_EQ(output.takeWarnings(), "NOTICE! reloading file altered on disk:\n  " + path + "\n");
    EXPECT_FALSE(base->HasFileChanged());
    EXPECT_EQ(base->MaterHandle("a", true), a);
    EXPECT_EQ(base->getMaterial(1), a);
    EXPECT_EQ(indexOf(a), 2.5);
    EXPECT_EQ(base->MaterHandle("b", false), nullptr);
    EXPECT_EQ(indexOf(b), 3);

    rewrite(directory_, "test.mat",
            file("BEGIN a\nRIX_POLYX 1 7\nEND\nBEGIN b\nRIX_POLYX 1 x\nEND\n"));
    EXPECT_EQ(LoadMaterbase(path.c_str()), base);
    EXPECT_NE(output.takeWarnings().find("last good contents are kept"), std::string::npos);
    EXPECT_FALSE(qverr());
    EXPECT_EQ(indexOf(a), 2.5);
    EXPECT_NE(base->MaterHandle("c", false), nullptr);
    EXPECT_EQ(LoadMaterbase(path.c_str()), base);
    EXPECT_EQ(output.takeWarnings(), "");

    rewrite(directory_, "test.mat", file(twoMaterials));
    LoadMaterbase(path.c_str());
    EXPECT_EQ(base->MaterHandle("b", false), b);
    EXPECT_EQ(indexOf(b), 3);
    EXPECT_EQ(base->getRefCount(), 5);
    for (int i = 0; i < 5; ++i) base->UnRef();
}

TEST_F(MaterbaseTest, includes_are_found_beside_the_file_and_watched) {
    std::filesystem::create_directory(directory_.file("sub"));
    directory_.write("sub/inner.mat", file("BEGIN inner\nRIX_POLYX 1 2\nEND\n"));
    directory_.write("sub/outer.mat", file("INCLUDE inner.mat // more\nBEGIN x << inner\nEND\n"));
    Materbase* base = load("INCLUDE \"sub/outer.mat\"\n");
    ASSERT_NE(base, nullptr) << qverr().chars();
    EXPECT_EQ(base->getNMaterials(), 2);
    EXPECT_EQ(indexOf(base->MaterHandle("x", true)), 2);

    CapturedOutput output;
    rewrite(directory_, "sub/inner.mat", file("BEGIN inner\nRIX_POLYX 1 4\nEND\n"));
    LoadMaterbase(base->getFileName())->UnRef();
    EXPECT_EQ(indexOf(base->MaterHandle("x", true)), 4);
    base->UnRef();
}

TEST_F(MaterbaseTest, includes_that_cannot_be_are_refused) {
    std::string message = messageOf("\nINCLUDE nowhere.mat\n");
    EXPECT_NE(message.find("- referenced in line: \"INCLUDE nowhere.mat\"\nline 3 of "),
              std::string::npos)
        << message;
    EXPECT_NE(messageOf("INCLUDE wrong.mat\n").find("includes itself"), std::string::npos);
    directory_.write("back.mat", file("INCLUDE wrong.mat\n"));
    EXPECT_NE(messageOf("INCLUDE back.mat\n").find("wrong.mat includes itself"), std::string::npos);
    EXPECT_NE(messageOf("INCLUDE // none\n").find("INCLUDE without a file name"),
              std::string::npos);
    std::filesystem::create_directory(directory_.file("folder.mat"));
    EXPECT_NE(messageOf("INCLUDE folder.mat\n").find("folder.mat"), std::string::npos);
    for (int i = 0; i < 25; ++i) {
        directory_.write("chain" + std::to_string(i) + ".mat",
                         file("INCLUDE chain" + std::to_string(i + 1) + ".mat\n"));
    }
    EXPECT_NE(messageOf("INCLUDE chain0.mat\n").find("deeper than 20"), std::string::npos);
}

TEST_F(MaterbaseTest, a_wrong_first_line_is_refused) {
    LoadMaterbase(directory_.write("a.mat", "<spline(2.21)>\n").c_str());
    EXPECT_EQ(qverr(), 1);
    EXPECT_NE(std::string(qverr().chars()).find("Invalid signature in file"), std::string::npos);
    qverr().reset();
    LoadMaterbase(directory_.write("b.mat", "<materbase(2.2)>\n").c_str());
    EXPECT_EQ(qverr(), 2);
    qverr().reset();
    EXPECT_EQ(LoadMaterbase(directory_.write("c.mat", "").c_str()), nullptr);
}

TEST_F(MaterbaseTest, layout_and_line_ends_do_not_matter) {
    const std::string text =
        "\xef\xbb\xbf\r\n// by hand\r\n<MaterBase(2.21)>  // signature\r\n"
        "any line\r\n\tBegin a<<\t\tb // base\r\nrix_polyx\r\n2//two\r\n1.5 "
        "0.1 End";
    CapturedOutput output;
    Materbase* base = LoadMaterbase(directory_.write("a.mat", text).c_str());
    ASSERT_NE(base, nullptr) << qverr().chars();
    EXPECT_EQ(indexOf(base->MaterHandle("a", true)), 1.5);
    EXPECT_NE(output.takeWarnings().find("starts from \"b\", which is not defined"),
              std::string::npos);
    base->UnRef();
    base = load("BEGINNING\n" + std::string(5000, 'x') + " BEGIN y\n");
    ASSERT_NE(base, nullptr);
    EXPECT_NE(output.takeWarnings().find("WARNING: No valid materials found in "),
              std::string::npos);
    base->UnRef();
}

TEST_F(MaterbaseTest, headers_of_materials_are_checked) {
    const std::pair<const char*, const char*> wrong[] = {
        {"BEGIN\n", "BEGIN  \r\n:syntax error, name() not found"},
        {"BEGIN << a\n", "name() not found"},
        {"BEGIN (0.3)\n", "name() not found"},
        {"BEGIN a b\n", "BEGIN a b :syntax error, extra characters after name()"},
        {"BEGIN a < b\n", "extra characters after name()"},
        {"BEGIN a << b c\n", "extra characters after name()"},
        {"BEGIN a <<\n", "the material to start from is not named"},
        {"BEGIN a\nRIX_POLYX 1 2\n", "Error in material \"a\"\nUnexpected end-of-file\nline 4"},
        {"BEGIN a\nBEGIN b\nEND\n", "the END of the material is missing"},
        {"BEGIN a\nRIX_POLX 1 2\nEND\n",
         "Error in material \"a\"\nunrecognised parameter name \"RIX_POLX\" "},
    };
    for (const auto& [items, message] : wrong) {
        const std::string found = messageOf(items);
        EXPECT_NE(found.find(message), std::string::npos) << items << found;
        EXPECT_EQ(found.rfind(" Fatal error while processing ", 0), 0U) << found;
        EXPECT_NE(found.find("\nFailed to load material file: " + directory_.file("wrong.mat")),
                  std::string::npos);
    }
    EXPECT_NE(messageOf("BEGIN " + std::string(3000, 'n') + "\nEND\n").find("too long"),
              std::string::npos);
}

TEST_F(MaterbaseTest, tables_have_their_room) {
    std::string items;
    for (int i = 0; i < 50; ++i) items += "BEGIN m" + std::to_string(i) + "\nEND\n";
    Materbase* base = load(items + "BEGIN m7\nRIX_POLYX 1 7\nEND\n");
    ASSERT_NE(base, nullptr) << qverr().chars();
    EXPECT_EQ(base->getNMaterials(), 50);
    EXPECT_EQ(indexOf(base->getMaterial(7)), 7);
    base->UnRef();
    EXPECT_NE(messageOf(items + "BEGIN m50\nEND\n").find("Too many materials"), std::string::npos);

    std::string blocks;
    for (int i = 0; i < 20; ++i)
        blocks += "BEGIN_DATABLOCK <X> b" + std::to_string(i) + "\nEND_DATABLOCK\n";
    base = load(blocks);
    ASSERT_NE(base, nullptr) << qverr().chars();
    EXPECT_EQ(base->getNDataBlocks(), 20);
    base->UnRef();
    EXPECT_NE(messageOf(blocks + "BEGIN_DATABLOCK <X> c\nEND_DATABLOCK\n").find("may have 20"),
              std::string::npos);
}

TEST_F(MaterbaseTest, the_registry_has_room_for_20_files_and_failed_ones_take_none) {
    std::vector<Materbase*> bases;
    for (int i = 0; i < 20; ++i) {
        messageOf("BEGIN\n");
        bases.push_back(load(twoMaterials, "f" + std::to_string(i) + ".mat"));
        ASSERT_NE(bases.back(), nullptr) << qverr().chars();
    }
    EXPECT_EQ(load(twoMaterials, "more.mat"), nullptr);
    EXPECT_STREQ(qverr().chars(), "Too many .mat files loaded (max 20)");
    qverr().reset();
    EXPECT_EQ(LoadMaterbase(bases[3]->getFileName()), bases[3]);
    bases[3]->UnRef();
    for (Materbase* base : bases) base->UnRef();
}

TEST_F(MaterbaseTest, data_blocks_keep_their_text_and_are_checked) {
    Materbase* base =
        load("BEGIN_DATABLOCK <NOTES> n   // kept\n one // not\n\n two\nend_datablock\n");
    ASSERT_NE(base, nullptr) << qverr().chars();
    EXPECT_STREQ(base->DataBlockHandle("NOTES", "n", true), "<NOTES> n one two ");
    EXPECT_EQ(base->DataBlockHandle("notes", "n", true), nullptr);
    EXPECT_EQ(base->DataBlockHandle("NOTES", "m", true), nullptr);
    base->UnRef();
    for (const std::string header : {"<> x", "NOTES x", "<NOTES>", ""}) {
        const std::string message = messageOf("BEGIN_DATABLOCK " + header + "\nEND_DATABLOCK\n");
        EXPECT_NE(message.find("Expected <TYPE> and a name in line " + header), std::string::npos);
    }
    EXPECT_NE(messageOf("BEGIN_DATABLOCK <X> " + std::string(99, 'n') + "\nEND_DATABLOCK\n")
                  .find("too long"),
              std::string::npos);
    EXPECT_NE(messageOf("BEGIN_DATABLOCK <X> y\n1 2\n")
                  .find("Error in datablock. Unexpected end-of-file after line <X> y"),
              std::string::npos);
    EXPECT_NE(messageOf("BEGIN_DATABLOCK <X> y\nEND_DATABLOCK\nBEGIN_DATABLOCK <X> y\n"
                        "END_DATABLOCK\n")
                  .find("one of this name already"),
              std::string::npos);
}

TEST_F(MaterbaseTest, a_check_finds_all_that_is_wrong) {
    const std::string path = directory_.write(
        "bad.mat", file("BEGIN a\n  RIX_POLYX 2 1 x\n  EGAP 1.4\n  EGAP 1.5\n  RIX_POLX 1\n"
                        "BEGIN b\nEND\nINCLUDE none.mat\nBEGIN_DATABLOCK <POLY2D> p\n1 x\n"
                        "END_DATABLOCK\nBEGIN c\nRIX_ANISOTROPIC dnxx = 1\nEND\nBEGIN d"));
    std::string lines;
    for (const qvMaterialMistake& mistake : qvCheckMaterialFile(path.c_str())) {
        EXPECT_EQ(mistake.file, path);
        lines += std::to_string(mistake.line) + " ";
    }
    EXPECT_EQ(lines, "3 5 6 7 9 10 16 13 ");
    EXPECT_FALSE(qverr());
    EXPECT_TRUE(
        qvCheckMaterialFile(directory_.write("good.mat", file(twoMaterials)).c_str()).empty());
    EXPECT_EQ(qvCheckMaterialFile("nowhere.mat").size(), 1U);
    std::string many;
    for (int i = 0; i < 1000; ++i) many += "BEGIN\n";
    EXPECT_EQ(qvCheckMaterialFile(directory_.write("many.mat", file(many)).c_str()).size(), 100U);
}

namespace {

/// A material of an application, with a keyword of its own.
class Priced : public MaterB {
public:
    using MaterB::MaterB;
    void Init() override {
        MaterB::Init();
        price = 0;
    }
    void Copy(const MaterB& other) override {
        MaterB::Copy(other);
        price = static_cast<const Priced&>(other).price;
    }
    bool ReadDef(const char* keyword, FILE* file) override {
        if (std::string(keyword) == "PRICE") {
            if (fscanf(file, "%lf", &price) == 1) return true;
            qverr().set("no price");
            return false;
        }
        return MaterB::ReadDef(keyword, file);
    }
    double price = 0;
};

MaterB* plainMaterial(const char* name) {
    return new MaterB(name);
}

}  // namespace

TEST_F(MaterbaseTest, applications_make_their_own_materials) {
    Materbase::setNewMaterFn([](const char* name) -> MaterB* { return new Priced(name); });
    Materbase* base = load("BEGIN a\nPRICE 12\nRIX_POLYX 1 2\nEND\nBEGIN b << a\nEND\n");
    ASSERT_NE(base, nullptr) << qverr().chars();
    const auto* b = dynamic_cast<Priced*>(base->MaterHandle("b", true));
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->price, 12);
    EXPECT_EQ(indexOf(b), 2);
    base->UnRef();
    EXPECT_NE(messageOf("BEGIN a\n\nPRICE x\nEND\n").find("no price\nline 4"), std::string::npos);

    Materbase::setNewMaterFn(nullptr);
    EXPECT_NE(messageOf(twoMaterials).find("Code Error: Materbase"), std::string::npos);
    Materbase::setNewMaterFn(plainMaterial);
}

TEST_F(MaterbaseTest, queries_go_on_while_files_are_loaded_again) {
    CapturedOutput silent;
    const auto content = [](int i) {
        const std::string n = std::to_string(i);
        return file("BEGIN a\nRIX_POLYX 2 " + n + " " + n + "\nEND\n");
    };
    rewrite(directory_, "test.mat", content(1));
    const std::string path = directory_.file("test.mat");
    Materbase* base = LoadMaterbase(path.c_str());
    ASSERT_NE(base, nullptr);
    MaterB* a = base->MaterHandle("a", true);
    std::atomic<bool> stop = false;
    std::atomic<int> torn = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t)
        threads.emplace_back([&] {
            while (!stop) {
                {
                    const qvmaterial::Reading reading;
                    const std::vector<double> c = a->data().index.poly.x[0].c;
                    torn += c.size() != 2 || c[0] != c[1];
                }
                Materbase* same = nullptr;
                ChangeMaterbase(same, path.c_str());
                // Where a file cannot be replaced in one step it may be missing for a moment.
                if (same) {
                    torn += same != base || same->MaterHandle("a", true) != a;
                    same->UnRef();
                }
                qverr().reset();
            }
        });
    for (int i = 2; i < 40; ++i) {
        rewrite(directory_, "new.mat", content(i));
        // A system may not let go of a file that another thread is just reading.
        std::error_code failed;
        do {
            std::filesystem::rename(directory_.file("new.mat"), path, failed);
        } while (failed);
        Materbase* same = LoadMaterbase(path.c_str());
        if (same) same->UnRef();
        qverr().reset();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(torn, 0);
    LoadMaterbase(path.c_str())->UnRef();
    EXPECT_EQ(indexOf(a), 39);
    base->UnRef();
}
