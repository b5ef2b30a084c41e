#include "qvutils/common/materialobject/materialobject.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materialobject/materialquantity.h"
#include "qvutils/common/materials/materialfiles.h"
#include "tests/support/captured_output.h"
#include "tests/support/temp_directory.h"

namespace {

struct MaterialObjectTest : testing::Test {
    MaterialObjectTest() { qverr().reset(); }
    ~MaterialObjectTest() override { EXPECT_STREQ(qverr().chars_and_reset(), ""); }

    std::string write(const std::string& name, const std::string& items) {
        return directory.write(name, "<materbase(2.21)>\n" + items);
    }
    qvMaterialObject* find(const std::string& file, const std::string& name) {
        return shelf.find(file, name, {});
    }
    std::string message() { return qverr().chars_and_reset(); }

    static std::string call(qvMaterialObject& object, const char* method, const char* arguments) {
        QVString text;
        object.getPublishedElt(method).ExecuteFn(arguments).getValueText(text);
        return text.Chars();
    }

    TempDirectory directory;
    qvMaterialShelf shelf;
};

const char* const glass = "BEGIN Glass\nRIX_POLYX 1 1.5\nRIX_POLYT 2 0 1e-5\nTEMP_REF 290\nEND\n";
const char* const crystal =
    "BEGIN Crystal\nRIX_POLYX 1 2\nRIX_ANISOTROPIC dnzz = 0.1\nRADRECOMB 3 0 1 2\n"
    "NRADRECOMB 1 1\nRIX_EOCOEF r33 = 30\nEND\n";

TEST_F(MaterialObjectTest, a_material_has_one_object_however_it_is_asked_for) {
    const std::string path = write("a.mat", std::string(glass) + crystal);
    qvMaterialObject* object = find(path, "Glass");
    ASSERT_TRUE(object);
    EXPECT_EQ(find(path, "Glass(0.3)"), object);
    EXPECT_EQ(shelf.find("a.mat", "Glass", {"nowhere", directory.path()}), object);
    EXPECT_NE(find(path, "Crystal"), object);
    EXPECT_NE(find(write("b.mat", glass), "Glass"), object);
    EXPECT_STREQ(object->material().getName(), "Glass");
}

TEST_F(MaterialObjectTest, publishes_the_queries_of_its_material) {
    qvMaterialObject& object = *find(write("a.mat", crystal), "Crystal");
    const MaterB& material = object.material();
    EXPECT_EQ(call(object, "nr", "0,0,1.55,300"), "2");
    EXPECT_EQ(call(object, "nrani", "0,0,1.55"), "2 2 2.1");
    EXPECT_EQ(call(object, "nzz", "0,0,1.55,300"), "2.1");
    EXPECT_EQ(call(object, "epszz", "0,0,1.55,300"), "(4.41,0)");
    EXPECT_EQ(call(object, "Rts", "0,0,1.55,300,2"),
              std::to_string(static_cast<int>(material.Rts(0, 0, 1.55, 300, 2))));
    EXPECT_EQ(call(object, "name", ""), "Crystal");
    EXPECT_EQ(call(object, "EOCoefs", ""), "0 0 0\n0 0 0\n0 0 30\n0 0 0\n0 0 0\n0 0 0\n");
    const double field[3] = {0, 0, 10};
    EXPECT_NE(material.eo_dnr(0, 0, 1.55, 300, field).zz, 0);
    EXPECT_EQ(call(object, "eo_dnr", "0,0,1.55,300,0,0,0"), "0 0 0");
    EXPECT_NE(call(object, "eo_dnr", "0,0,1.55,300,0,0,10"), "0 0 0");
}

TEST_F(MaterialObjectTest, a_temperature_that_is_left_out_is_the_reference) {
    qvMaterialObject& object = *find(write("a.mat", glass), "Glass");
    EXPECT_EQ(call(object, "nr", "0,0,1.55"), "1.5");
    EXPECT_EQ(call(object, "nr", "0,0,1.55,390"), "1.501");
}

TEST_F(MaterialObjectTest, a_query_that_fails_gives_nothing_and_its_error) {
    qvMaterialObject& object = *find(write("a.mat", glass), "Glass");
    EXPECT_EQ(call(object, "nr", "0,0"), "");
    EXPECT_EQ(message(), "insufficient arguments\n");
    EXPECT_EQ(call(object, "nr", "0,0,red"), "");
    EXPECT_EQ(message(), "argument 3 is not a number: \"red\"\n");
    EXPECT_EQ(call(object, "Eg", "0,0,1.55"), "");
    EXPECT_EQ(message(), "Egap undefined in material \"Glass\"\n");
    EXPECT_EQ(call(object, "nr", "0,0,-1"), "");
    EXPECT_NE(message(), "");
}

TEST_F(MaterialObjectTest, tells_what_is_wrong_with_file_or_name) {
    const std::string path = write("a.mat", glass);
    EXPECT_EQ(find("no.mat", "Glass"), nullptr);
    EXPECT_EQ(message(), "Could not find material file no.mat\n");
    EXPECT_EQ(find(path, "Grass"), nullptr);
    EXPECT_EQ(message(), " Error:\n Material \"Grass\" not found in\n database \"" + path +
                             "\" \ndid you mean Glass?");
}

TEST_F(MaterialObjectTest, answers_from_the_file_as_it_is_when_it_is_asked_for_again) {
    CapturedOutput output;
    const std::string path = write("a.mat", std::string(glass) + crystal);
    qvMaterialObject* object = find(path, "Glass");
    qvMaterialObject* gone = find(path, "Crystal");
    write("a.mat", "BEGIN Glass\nRIX_POLYX 1 1.75\nEND\n");
    EXPECT_EQ(call(*object, "nr", "0,0,1"), "1.5");
    EXPECT_EQ(find(path, "Glass"), object);
    EXPECT_EQ(call(*object, "nr", "0,0,1"), "1.75");

    // What is in the file no more stays for those who hold it.
    EXPECT_EQ(find(path, "Crystal"), nullptr);
    message();
    EXPECT_EQ(call(*gone, "nr", "0,0,1"), "2");

    write("a.mat", "BEGIN Glass\nRIX_POLYX 9 1.875\nEND\n");
    EXPECT_EQ(find(path, "Glass"), object);
    EXPECT_EQ(call(*object, "nr", "0,0,1"), "1.75");

    write("a.mat", std::string(crystal) + "BEGIN Glass\nRIX_POLYX 1 1.25\nEND\n");
    EXPECT_EQ(find(path, "Crystal"), gone);
    EXPECT_EQ(find(path, "Glass"), object);
    EXPECT_EQ(call(*object, "nr", "0,0,1") + call(*gone, "nr", "0,0,1"), "1.252");
}

TEST_F(MaterialObjectTest, keeps_the_file_loaded) {
    const std::string path = write("a.mat", glass);
    auto alone = std::make_unique<qvMaterialShelf>();
    const std::unique_ptr<QVObject> copy(alone->find(path, "Glass", {})->Clone());
    Materbase* base = LoadMaterbase(path.c_str());
    EXPECT_EQ(base->getRefCount(), 3);
    alone.reset();
    EXPECT_EQ(base->getRefCount(), 2);
    base->UnRef();
    EXPECT_EQ(call(static_cast<qvMaterialObject&>(*copy), "nr", "0,0,1"), "1.5");
}

TEST(MaterialFiles, are_looked_for_as_named_then_where_told_then_in_the_default_directory) {
    const TempDirectory first;
    const TempDirectory standard;
    standard.write("both.mat", "");
    const std::string later = standard.write("later.mat", "");
    const std::string both = first.write("both.mat", "");
    std::string directory = standard.path();
    materbaseDir = directory.data();
    EXPECT_EQ(qvFindMaterialFile("both.mat", {first.path()}), both);
    EXPECT_EQ(qvFindMaterialFile("later.mat", {first.path()}), later);
    EXPECT_EQ(qvFindMaterialFile(later, {first.path()}), later);
    EXPECT_EQ(qvFindMaterialFile("never.mat", {first.path()}), "");
    EXPECT_EQ(qvFindMaterialFile(""), "");
    materbaseDir = nullptr;
    EXPECT_EQ(qvFindMaterialFile("later.mat", {first.path()}), "");
    EXPECT_NE(qvFindMaterialFile("standard.mat"), "") << "the file that comes with the library";
}

TEST(MaterialQuantities, form_a_table_in_order) {
    std::set<std::string> names;
    std::string tensor;
    for (const qvMaterialQuantity& row : qvMaterialQuantities()) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_EQ(qvFindMaterialQuantity(row.name), &row);
        EXPECT_STRNE(row.help, "") << row.name;
        if (row.tensor[0]) {
            constexpr char axes[] = "xyz";
            EXPECT_EQ(tensor, row.tensor) << row.name;
            EXPECT_EQ(row.name, tensor + axes[row.row] + axes[row.column]);
        } else {
            tensor = row.name;
        }
    }
    EXPECT_EQ(qvFindMaterialQuantity("N"), nullptr);
}

}  // namespace
