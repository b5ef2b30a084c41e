#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/qvobject.h"

namespace {

/// Publishes by whatever the test wants.
class Publisher : public QVObject {
public:
    QV_CLASS_INFO(Publisher)

    void OnPublish() override {
        PublishFn(
            "first", [](Publisher&) { return 1; }, "(): 1");
        PublishFn("number", &Publisher::Number, [this] {
            ++helpsComputed;
            return QVString("com\tpu\\ted\n");
        });
        PublishFn(
            "first", [](Publisher&) { return 2; }, "(): hidden by the first one");
        PublishVar("value", value, "a value");
        PublishList("numbers", numbers, "a list of values");
        PublishList("others", others, "a list of objects");
        PublishObj("kept", kept, "a container of the object's own", true, nullptr, nullptr,
                   qvKindDouble, "one", "two", "three");
    }
    double Number(int i, float f, double d, bool b, const char* c, const QVString& s,
                  QVString t) const {
        return b ? i + f + d + static_cast<double>(std::strlen(c)) + s.Length() + t.Length() : -1;
    }

    double value = 1;
    List<int> numbers;
    List<Publisher*> others;
    int helpsComputed = 0;

    struct Kept : PublishContainer {
        int getNdims() const override { return 2; }
        Range getRange(int dimension) const override { return {dimension, dimension + 1}; }
        int getEntryKind() const override { return qvKindDouble; }
        void* getEntry(int i, int j) const override {
            return const_cast<double*>(&entries[(i - 1) * 2 + j - 2]);
        }
        double entries[4] = {1, 2, 3, 4};
    } kept;
};
const qvClassInfo Publisher::cinfo_Publisher("Publisher", QVObject::getStaticClassInfo());

class Published : public ::testing::Test {
protected:
    ~Published() override { qverr().reset(); }
    QVString call(const char* name, const char* args) {
        const QVCommandElt result = publisher.getPublishedElt(name).ExecuteFn(args);
        QVString text;
        result.getValueText(text);
        return text;
    }
    Publisher publisher;
};

TEST_F(Published, things_are_found_by_their_whole_name) {
    for (const char* name : {"", "val", "values", "Value", "numb"}) {
        EXPECT_TRUE(publisher.getPublishedElt(name).IsNull()) << name;
    }
    const QVCommandElt value = publisher.getPublishedElt("value");
    EXPECT_EQ(value.getScalarPtr(), &publisher.value);
    EXPECT_EQ(value.getParent(), &publisher);
    EXPECT_STREQ(value.getName(), "value");
    EXPECT_EQ(call("first", ""), "1");

    List<QVCommandElt> all;
    publisher.getChildList(all);
    EXPECT_EQ(all.size(), 7);
    EXPECT_STREQ(all[4].getName(), "value");
}

TEST_F(Published, computed_help_is_computed_when_asked_for) {
    EXPECT_STREQ(publisher.getPublishedElt("number").getDescription(), "");
    EXPECT_EQ(publisher.helpsComputed, 0);
    EXPECT_STREQ(publisher.getPublishedElt("number", true).getDescription(), "com\tpu\\ted\n");
}

TEST_F(Published, members_are_told_to_programs) {
    const QVString list = call("objmembers", "");
    EXPECT_TRUE(
        list.view().starts_with("first\tFUNCTION\trw\t(): 1\n"
                                "kept\tMATRIX<FLOAT>\tro\ta container"));
    EXPECT_NE(list.view().find("\nnumber\tFUNCTION\trw\tcom\\tpu\\\\ted\\n\n"), std::string::npos);
    publisher.numbers.append(7);
    const std::pair<const char*, const char*> members[] = {{"value", "FLOAT\n1"},
                                                           {"first", "FUNCTION"},
                                                           {"numbers", "LIST<INTEGER>\n1 1"},
                                                           {"others", "LIST<Publisher>\n1 0"},
                                                           {"kept", "MATRIX<FLOAT>\n1 2 2 3"},
                                                           {"objtype", "FUNCTION"}};
    for (const auto& [name, description] : members) {
        EXPECT_EQ(call("objmember", name), description) << name;
    }
    EXPECT_EQ(call("objmember", "valu"), "");
    EXPECT_STREQ(qverr().chars_and_reset(), "could not find item \"valu\"\n");
}

TEST_F(Published, every_argument_type_is_converted) {
    EXPECT_EQ(call("number", "1, 2.5, 1e2, true, \"ab\", c, \"\""), "106.5");
    EXPECT_EQ(call("number", "1,1,1,0,a,b,c"), "-1");
    for (const char* args :
         {"x,1,1,1,a,b,c", "1,,1,1,a,b,c", "1,1,1z,1,a,b,c", "1,1,1,yes,a,b,c"}) {
        EXPECT_EQ(call("number", args), "");
        EXPECT_TRUE(std::strstr(qverr().chars_and_reset(), "is not a number")) << args;
    }
    EXPECT_EQ(call("number", "1,2"), "");
    EXPECT_STREQ(qverr().chars_and_reset(), "insufficient arguments\n");
}

TEST_F(Published, elements_outlive_copying_and_moving) {
    QVCommandElt method = publisher.getPublishedElt("number");
    QVCommandElt copy = method;
    method = QVCommandElt();
    const QVCommandElt moved = std::move(copy);
    EXPECT_FALSE(moved.ExecuteFn("1,1,1,1,a,b,c").IsNull());
    EXPECT_EQ(moved.getType(), "FUNCTION");

    // An owned value is shared by the copies; a method without its object is a code error.
    double number = 2;
    QVCommandElt owned;
    owned.Init(&number, qvKindDouble, false, true, 0, nullptr);
    QVCommandElt shared = owned;
    EXPECT_TRUE(shared.SetVal(5.0));
    QVString text;
    EXPECT_TRUE(owned.getValueText(text));
    EXPECT_EQ(text, "5");
    EXPECT_EQ(number, 2);
    QVCommandElt orphan = moved;
    orphan.setParent(nullptr);
    EXPECT_TRUE(orphan.ExecuteFn("").IsFunction());
    EXPECT_TRUE(std::strstr(qverr().chars(), "QVCommandElt::ExecuteFn"));
}

TEST_F(Published, lists_and_matrices_are_reached_entry_by_entry) {
    Publisher other;
    publisher.others.append(&other);
    publisher.numbers.append(7);
    const QVCommandElt others = publisher.getPublishedElt("others");
    EXPECT_EQ(others.getType(), "LIST<Publisher>");
    EXPECT_EQ(others.entryElt(1, 0).getObject(), &other);
    QVCommandElt seven = publisher.getPublishedElt("numbers").entryElt(1, 0);
    EXPECT_TRUE(seven.SetVal("8"));
    EXPECT_EQ(publisher.numbers[1], 8);

    QVCommandElt kept = publisher.getPublishedElt("kept");
    EXPECT_EQ(kept.getType(), "MATRIX<FLOAT>");
    EXPECT_STREQ(kept.getFurtherText(1), "two");
    Array2d<void*> all = kept.getArray();
    EXPECT_EQ(all.get_lbd2(), 2);
    EXPECT_EQ(*static_cast<double*>(all[2][3]), 4);
    Array2d<void*> one;
    int kind = 0;
    EXPECT_TRUE(kept.GetPtrArray(one, kind, 2, 2, 2));
    EXPECT_EQ(*static_cast<double*>(one[2][2]), 3);
    EXPECT_FALSE(kept.GetPtrArray(one, kind, 3, 2, 2));
    EXPECT_FALSE(kept.GetPtrArray(one, kind, 1, 2, 1));
    EXPECT_FALSE(publisher.getPublishedElt("numbers").GetPtrArray(one, kind, 2, 0, 1));
}

TEST(Kinds, are_a_table_in_order) {
    for (int kind = 1; kind <= qvKindMethod; ++kind) {
        EXPECT_EQ(qvKindRow(kind).kind, kind);
        EXPECT_STRNE(qvKindRow(kind).typeName, "<unknown type>") << kind;
    }
    for (const int kind : {0, -1, 16, 1000}) {
        EXPECT_STREQ(qvKindRow(kind).typeName, "<unknown type>");
    }
}

TEST(Kinds, numbers_and_texts_set_values_as_the_kind_allows) {
    const auto element = [](auto& value, int capacity = 0) {
        QVCommandElt elt;
        using T = std::remove_reference_t<decltype(value)>;
        elt.Init(&value, std::is_array_v<T> ? qvKindCharArray : qvKindOf<T>(), false, false, 0,
                 nullptr);
        elt.setCapacity(capacity);
        return elt;
    };
    short s = 5;
    EXPECT_FALSE(element(s).SetVal(40000.0));
    EXPECT_FALSE(element(s).SetVal("-32769"));
    EXPECT_EQ(s, 5);
    EXPECT_TRUE(element(s).SetVal(std::complex<double>(-2.6, 9)));
    EXPECT_EQ(s, -3);

    bool flag = false;
    EXPECT_FALSE(element(flag).SetVal("1"));
    EXPECT_TRUE(element(flag).SetVal(0.5));
    EXPECT_TRUE(flag);

    char label[4] = "";
    EXPECT_TRUE(element(label, 4).SetVal("abcdef"));
    EXPECT_STREQ(label, "abc");
    EXPECT_FALSE(element(label, 0).SetVal("x"));
    EXPECT_FALSE(element(label, 4).SetVal(1.0));
    EXPECT_FALSE(QVCommandElt().SetVal("1"));
    EXPECT_FALSE(QVCommandElt().SetVal(1.0));
}

TEST(Arguments, are_cut_at_commas_outside_quotes) {
    const QVCommandArgList args(QVString("a, \"b, \\\" c\" , (d, e), \"\\n\\q\\\\\" , \" , \""));
    const char* expected[] = {"a", "b, \" c", "(d", "e)", "\nq\\", " , "};
    ASSERT_EQ(args.nargs(), 6);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(args[i].getText(), expected[i]);
    EXPECT_EQ(args[6].getText(), "");
    EXPECT_STREQ(qverr().chars_and_reset(), "insufficient arguments\n");
    EXPECT_EQ(QVCommandArgList("  ").nargs(), 0);
    EXPECT_EQ(QVCommandArgList("\"").nargs(), 1);
    EXPECT_EQ(qvUnquote("\"x\\\""), "x");
}

}  // namespace
