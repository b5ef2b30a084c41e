#include <gmock/gmock.h>

#include <limits>
#include <string>

#include "qvutils/common/containers/array1d.h"
#include "qvutils/common/containers/array2d.h"
#include "qvutils/common/containers/dynarray.h"
#include "qvutils/common/platform/files.h"
#include "tests/support/comma_locale.h"
#include "tests/support/temp_directory.h"

namespace {

const auto ends = testing::ExitedWithCode(1);

TEST(Array1d, contents_survive_when_only_the_bounds_move) {
    Array1d<double> a(-2, 2);
    for (int i = -2; i <= 2; ++i) a[i] = i;
    a.alloc(0, 4);
    EXPECT_EQ(a.get_dim(), 5);
    for (int i = 0; i <= 4; ++i) EXPECT_EQ(a[i], i - 2);
    const double* biased = a;
    EXPECT_EQ(biased[4], 2);
    a.alloc(3, 2);
    EXPECT_FALSE(a.alloced());
    EXPECT_EQ(a.get_lbd(), 0);
    EXPECT_EQ(a.get_ubd(), -1);
}

TEST(Array1d, copies_own_what_they_copy_and_views_stay_views) {
    double storage[3] = {1, 2, 3};
    Array1d<double> view;
    view.alloc(5, 7, storage);
    EXPECT_EQ(view[5], 1);
    Array1d<double> other(1, 9);
    other = view;
    other[7] = 30;
    EXPECT_EQ(storage[2], 30);
    EXPECT_EQ(view[7], 30);

    Array1d<double> owner(1, 2);
    owner[1] = owner[2] = 1;
    other = owner;
    other[1] = 7;
    EXPECT_EQ(owner[1], 1);
    EXPECT_EQ(storage[0], 1) << "the view was let go, not written to";
    other = Array1d<double>();
    EXPECT_FALSE(other.alloced());
}

TEST(Array2d, is_one_block_that_survives_when_only_the_bounds_move) {
    Array2d<int> a(0, 1, -1, 1);
    for (int i = 0; i <= 1; ++i) {
        for (int j = -1; j <= 1; ++j) a[i][j] = 10 * i + j;
    }
    a.alloc(5, 6, 0, 2);
    EXPECT_EQ(a[6][2], 11);
    EXPECT_EQ(&a[5][2] + 1, &a[6][0]);
    int** rows = a;
    EXPECT_EQ(rows[6][0], 9);
    const Array2d<int> copy = a;
    a[5][0] = 99;
    EXPECT_EQ(copy[5][0], -1);
    a.alloc(1, 0, 1, 3);
    EXPECT_FALSE(a.alloced());
    EXPECT_EQ(static_cast<int**>(a), nullptr);
}

TEST(ArraysDeath, bad_indices_and_dimensions_end_the_program) {
    Array1d<int> a(-1, 1);
    EXPECT_EXIT(a[2], ends,
                testing::HasSubstr(
                    "error in Array1d<T>::operator[]. Index 2 out of bounds (-1,1)"));
    EXPECT_EXIT(a[-2], ends, testing::HasSubstr("Index -2 out of bounds (-1,1)"));
    EXPECT_EXIT(Array1d<int>()[0], ends, testing::HasSubstr("Index 0 out of bounds (0,-1)"));
    EXPECT_EXIT(a.alloc(3, 0), ends,
                testing::HasSubstr("error in Array1d<T>::alloc.dimension -2 not allowed \n"));
    constexpr int most = std::numeric_limits<int>::max();
    EXPECT_EXIT(a.alloc(-most, most), ends, testing::HasSubstr("not allowed"));

    Array2d<int> b(1, 2, 1, 3);
    EXPECT_EXIT(b[3], ends,
                testing::HasSubstr("error in Array2d<T>::operator[]. Index 3 out of bounds (1,2)"));
    EXPECT_EXIT(b[2][4], ends, testing::HasSubstr("Array1d<T>::operator[]. Index 4"));
    EXPECT_EXIT(b.alloc(1, -1, 1, 2), ends,
                testing::HasSubstr("error in Array2d<T>::alloc dimension -1 not allowed"));

    DynArray<int> c(2);
    EXPECT_EXIT(c[2], ends,
                testing::HasSubstr("Dynamic array index 2 out of bounds 0 <= index < 2\n"));
    EXPECT_EXIT(c[-1], ends, testing::HasSubstr("index -1 out of bounds"));
    EXPECT_EXIT(c.insert(3, 0), ends, testing::HasSubstr("index 3 out of bounds"));
}

bool readInto(Array2d<double>& array, const std::string& text) {
    const TempDirectory directory;
    const std::string path = directory.write("numbers", text);
    FILE* const file = qvplatform::fileSystem().open(path, "r");
    const bool read = array.read(file);
    qvplatform::fileSystem().close(file);
    return read;
}

TEST(Arrays, read_numbers_from_text_under_any_locale) {
    const CommaLocale comma;
    Array2d<double> a(1, 2, 1, 2);
    ASSERT_TRUE(readInto(a, "1.5 -2e3\r\n\t+0.25\n7"));
    EXPECT_EQ(a[1][2], -2000);
    EXPECT_EQ(a[2][1], 0.25);
    EXPECT_FALSE(readInto(a, "1 2 3"));
    EXPECT_FALSE(readInto(a, "1 2 3 4x"));
    EXPECT_FALSE(readInto(a, "1 2 +-3 4"));
}

TEST(DynArray, grows_at_any_place) {
    DynArray<std::string> array;
    array.append("b");
    array.insert(0, "a");
    array.insert(2, "d");
    array.insert(2, "c");
    array.erase(0);
    EXPECT_EQ(array.size(), 3);
    EXPECT_EQ(array[0] + array[1] + array.back(), "bcd");
}

}  // namespace
