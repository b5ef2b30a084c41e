#include "qvutils/common/object/qvobject.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/object/checkable.h"
#include "qvutils/common/platform/files.h"
#include "qvutils/common/statefiles/sfhandler.h"
#include "tests/support/captured_output.h"
#include "tests/support/failing_files.h"
#include "tests/support/temp_directory.h"

namespace {

/// A node of a calculation: its result is its own value plus those of its inputs.
class Sum : public Updatable {
public:
    QV_CLASS_INFO(Sum)

    explicit Sum(int ownValue = 0) : value(ownValue) {}
    void OnCheckSum(CheckSum& sum) override { sum.Append(value); }
    void OnDeclareChildren(DepTreeEvent& event) override {
        for (QVObject* input : inputs) event.appendEvent(*input);
    }
    void OnEvaluate() override {
        ++evaluations;
        result = value;
        for (QVObject* input : inputs) {
            if (auto* sum = dynamic_cast<Sum*>(input)) result += sum->result;
        }
    }
    void OnReset() override { result = 0; }
    void OnMessage(QVMessage& message) override {
        ++messages;
        Updatable::OnMessage(message);
    }
    void OnSaveState(FILE* file) override {
        if (!qvplatform::fileSystem().write(file, &result, sizeof result)) {
            qverr().set("could not write\n");
        }
    }
    bool OnLoadState(FILE* file, int version) override {
        loadedVersion = version;
        return qvplatform::fileSystem().read(file, &result, sizeof result) == sizeof result;
    }

    std::vector<QVObject*> inputs;
    int value;
    int result = 0;
    int evaluations = 0;
    int messages = 0;
    int loadedVersion = 0;
};
const qvClassInfo Sum::cinfo_Sum("Sum", Updatable::getStaticClassInfo(),
                                 Checkable::getStaticClassInfo(), qvCreateObject<Sum>);

class Objects : public ::testing::Test {
protected:
    Objects() { top.inputs = {&left, &right}; }
    ~Objects() override { qverr().reset(); }
    bool pendingCodeError(const char* place) {
        return std::strstr(qverr().chars_and_reset(), place) != nullptr;
    }
    Sum top{1};
    Sum left{2};
    Sum right{3};
};

TEST_F(Objects, know_their_class_and_its_bases) {
    EXPECT_STREQ(top.getClassName(), "Sum");
    EXPECT_TRUE(top.IsKindOf("Checkable"));
    EXPECT_TRUE(top.IsKindOf(QVObject::getStaticClassInfo()));
    EXPECT_FALSE(top.IsKindOf("Sums"));
    EXPECT_FALSE(QVObject().IsKindOf(Sum::getStaticClassInfo()));
    const qvClassInfo mixed("Mixed", QVObject::getStaticClassInfo(), Sum::getStaticClassInfo());
    EXPECT_TRUE(mixed.IsKindOf("Updatable"));
    EXPECT_FALSE(mixed.IsMainType("Updatable"));
    EXPECT_EQ(mixed.CreateObject(), nullptr);
    const std::unique_ptr<QVObject> made(top.getClassInfo()->CreateObject());
    EXPECT_STREQ(made->getClassName(), "Sum");
}

TEST_F(Objects, messages_reach_the_receivers_they_name) {
    top.sendMessage("", 1);
    top.sendMessage("Sum", 1);
    top.sendMessage("Other", 1);
    EXPECT_EQ(top.messages * 10 + left.messages, 22);
    top.sendMessage("SEARCHMODE:2 RECEIVERS:Other,Sum", 1);
    EXPECT_EQ(top.messages * 10 + left.messages, 23);
    top.sendMessage("SEARCHMODE:3", 1);
    EXPECT_EQ(top.messages * 10 + left.messages, 33);
    top.sendMessage("SEARCHMODE:4", 1);
    EXPECT_TRUE(pendingCodeError("QVObject::sendMessage1"));
}

TEST_F(Objects, an_object_beneath_itself_is_a_code_error) {
    left.inputs = {&top};
    top.sendMessage("", 1);
    EXPECT_TRUE(pendingCodeError("Sum::appendEvent 1"));
    top.Update();
    EXPECT_TRUE(pendingCodeError("Updatable::Update"));
}

TEST_F(Objects, an_update_evaluates_what_has_changed_and_all_above_it) {
    QVObject plain;  // what is neither checkable nor updatable is passed over
    top.inputs.push_back(&plain);
    EXPECT_TRUE(top.IsOutOfDate());
    const CheckSum sum = top.Update();
    EXPECT_TRUE(sum == top.getCurrCheckSum());
    EXPECT_EQ(top.result, 6);
    EXPECT_FALSE(top.IsOutOfDate());
    left.value = 10;
    EXPECT_TRUE(top.IsOutOfDate());
    EXPECT_FALSE(right.IsOutOfDate());
    top.Update();
    EXPECT_EQ(top.result, 14);
    EXPECT_EQ(top.evaluations * 100 + left.evaluations * 10 + right.evaluations, 221);
    top.ResetAll("Sum");
    EXPECT_EQ(right.result, 0);
    EXPECT_TRUE(right.IsOutOfDate());
}

class StateFiles : public Objects {
protected:
    StateFiles() {
        SFHandler::InitialiseCacheDir(directory.path().c_str());
        top.setSFHandle(handler, "sum");
        top.setObjectVersion(7);
    }
    ~StateFiles() override {
        handler.DeleteAll();
        SFHandler::InitialiseCacheDir(nullptr);
    }
    bool load(Sum& object) {
        object.setSFHandle(handler, "sum");
        return object.LoadState();
    }
    TempDirectory directory;
    SFHandler handler;
};

TEST_F(StateFiles, bring_an_object_back_up_to_date) {
    top.Update();
    EXPECT_TRUE(top.IsModified());
    ASSERT_TRUE(top.SaveState()) << qverr().chars();
    EXPECT_FALSE(top.IsModified());
    const std::string bytes = contentOf(handler.getSFile("sum"));
    EXPECT_EQ(
        bytes.substr(0, 40),
        std::string("\1\0\0\0Sum\0\0\0\0\0\0\0\0\0\0\0\0\0\7\0\0\0", 24) + std::string(16, '\0'));
    Sum again(1);
    again.inputs = {&left, &right};
    ASSERT_TRUE(load(again));
    EXPECT_EQ(again.result, 6);
    EXPECT_EQ(again.loadedVersion, 7);
    EXPECT_FALSE(again.IsOutOfDate());
    again.value = 2;
    EXPECT_TRUE(again.IsOutOfDate());
}

TEST_F(StateFiles, refuse_what_they_cannot_read_or_write) {
    EXPECT_FALSE(left.SaveState());
    EXPECT_STREQ(qverr().chars_and_reset(), "no state file specified\n");
    EXPECT_FALSE(top.LoadState());  // nothing has been saved
    EXPECT_FALSE(qverr());
    ASSERT_TRUE(top.SaveState());

    class Other : public Sum {
    public:
        const qvClassInfo* getClassInfo() const override { return Updatable::getStaticClassInfo(); }
    } other;
    EXPECT_FALSE(load(other));
    EXPECT_TRUE(std::strstr(qverr().chars_and_reset(), "not one of a Updatable"));
    const std::string path = handler.getSFile("sum");
    qvplatform::SafeFile cut;
    ASSERT_TRUE(cut.open(path) && cut.write("\1\0\0\0Su", 6) && cut.commit());
    EXPECT_FALSE(top.LoadState());
    EXPECT_TRUE(qverr());
    qverr().reset();

    SFHandler::InitialiseCacheDir(nullptr);
    EXPECT_FALSE(top.SaveState());
}

TEST_F(StateFiles, keep_the_old_state_when_any_operation_fails) {
    top.Update();
    ASSERT_TRUE(top.SaveState());
    const std::string old = contentOf(handler.getSFile("sum"));
    top.result = 99;
    CapturedOutput output;
    FailingFiles files;
    ASSERT_TRUE(top.SaveState());
    const int operations = files.operations();
    for (int k = 1; k <= operations; ++k) {
        files.failNever();
        top.result = 6;
        ASSERT_TRUE(top.SaveState());
        top.result = 99;
        top.SetModified();
        files.failAt(k);
        const bool saved = top.SaveState();
        files.failNever();
        EXPECT_NE(saved, top.IsModified());
        EXPECT_EQ(contentOf(handler.getSFile("sum")) == old, !saved) << k;
        qverr().reset();
    }
    EXPECT_NE(output.takeNormal().find("State not saved\n"), std::string::npos);
}

}  // namespace
