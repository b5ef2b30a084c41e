#pragma once
#include <gtest/gtest.h>

#include <string>

#include "qvutils/common/error/qverror.h"
#include "qvutils/common/materials/materb.h"
#include "qvutils/common/materials/materlock.h"
#include "tests/support/temp_directory.h"

/// Material files for one test, in a directory of their own.
class MaterialFiles : public ::testing::Test {
protected:
    MaterialFiles() { qverr().reset(); }
    ~MaterialFiles() override { qverr().reset(); }

    static std::string file(const std::string& items) { return "<materbase(2.21)>\n" + items; }
    static std::string material(const std::string& name, const std::string& body) {
        return "BEGIN " + name + "\n" + body + "\nEND\n";
    }
    /// Writes and loads a file.
    Materbase* load(const std::string& items, const std::string& name = "test.mat") {
        return LoadMaterbase(directory_.write(name, file(items)).c_str());
    }
    /// The message of a file that cannot be loaded.
    std::string messageOf(const std::string& items) {
        Materbase* base = load(items, "wrong.mat");
        EXPECT_EQ(base, nullptr) << items;
        if (base) base->UnRef();
        return qverr().chars_and_reset();
    }

    TempDirectory directory_;
};

/// The constant term of an index that is a polynomial in mx.
inline double indexOf(const MaterB* material) {
    const qvmaterial::Reading reading;
    const auto& c = material->data().index.poly.x[0].c;
    return c.empty() ? 0 : c[0];
}
