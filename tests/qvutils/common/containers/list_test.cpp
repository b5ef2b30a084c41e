#include "qvutils/common/containers/list.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <vector>

namespace {

template <class T>
std::vector<T> byIndex(const List<T>& list) {
    std::vector<T> values;
    for (int i = 1; i <= list.size(); ++i) values.push_back(list[i]);
    return values;
}

template <class T>
std::vector<T> byWalk(const List<T>& list) {
    return {list.begin(), list.end()};
}

template <class T>
std::vector<T> backwards(const List<T>& list) {
    std::vector<T> values;
    for (auto* node = list.last_node(); node; node = node->prev) values.push_back(node->value);
    return values;
}

List<int> upTo(int n) {
    List<int> list;
    for (int i = 1; i <= n; ++i) list.append(i);
    return list;
}

TEST(List, index_follows_appends_and_inserts) {
    List<int> list = upTo(100);
    EXPECT_GE(list.capacity(), 100);
    list.insert(1, 0);
    for (int i = 1; i <= 101; ++i) ASSERT_EQ(list[i], i - 1);
    list.insert(102, 101);
    EXPECT_EQ(list.last_cpt(), 101);
    EXPECT_EQ(list.first_cpt(), 0);
}

TEST(List, positions_out_of_range_have_no_node_and_no_move) {
    List<int> list = upTo(3);
    EXPECT_EQ(list.get_ptr(0), nullptr);
    EXPECT_EQ(list.get_ptr(4), nullptr);
    EXPECT_EQ(list.get_ptr(3), list.last_node());
    EXPECT_TRUE(list.move(2, 2));
    EXPECT_FALSE(list.move(0, 1));
    EXPECT_FALSE(list.move(1, 4));
    EXPECT_EQ(byIndex(list), (std::vector{1, 2, 3}));
}

TEST(List, copies_are_of_their_own) {
    List<std::string> list;
    list.append("a");
    list.append("b");
    List<std::string> copy = list;
    copy[1] = "c";
    EXPECT_EQ(list[1], "a");
    list = copy;
    copy.unalloc();
    EXPECT_TRUE(copy.empty());
    copy.append("d");
    EXPECT_EQ(byIndex(copy), std::vector<std::string>{"d"});
    EXPECT_EQ(byIndex(list), (std::vector<std::string>{"c", "b"}));
    const List<std::string> moved = std::move(list);
    EXPECT_EQ(moved[2], "b");
}

/// Any mix of operations gives what a vector gives, along the index and along the links both ways.
TEST(List, agrees_with_a_vector_under_random_operations) {
    std::mt19937 random(1);
    List<int> list;
    std::vector<int> model;
    const auto upTo = [&random](int n) { return std::uniform_int_distribution(1, n)(random); };
    for (int step = 0; step < 60'000; ++step) {
        const int size = static_cast<int>(model.size());
        // Grows at first and shrinks in the end, so that many gaps are open at once.
        const int choice = upTo(100);
        const bool growing = step < 20'000;
        if (size == 0 || choice <= (growing ? 60 : 20)) {
            list.append(step);
            model.push_back(step);
        } else if (choice <= 90) {
            const int pos = upTo(size);
            if (choice % 8 == 0) {
                list.erase(list.get_ptr(pos));
            } else {
                list.erase(pos);
            }
            model.erase(model.begin() + pos - 1);
        } else if (choice <= 95) {
            const int pos = upTo(size + 1);
            list.insert(pos, step);
            model.insert(model.begin() + pos - 1, step);
        } else if (choice <= 99) {
            const int from = upTo(size);
            const int to = upTo(size);
            ASSERT_TRUE(list.move(from, to));
            const int value = model[from - 1];
            model.erase(model.begin() + from - 1);
            model.insert(model.begin() + to - 1, value);
        } else {
            list.reverse();
            std::reverse(model.begin(), model.end());
        }
        const int probe = model.empty() ? 0 : upTo(static_cast<int>(model.size()));
        if (probe) {
            ASSERT_EQ(list[probe], model[probe - 1]) << "step " << step;
        }
        if (step % 1000 == 0) {
            ASSERT_EQ(byIndex(list), model) << "step " << step;
            ASSERT_EQ(byWalk(list), model);
            ASSERT_EQ(backwards(list), std::vector<int>(model.rbegin(), model.rend()));
        }
    }
}

TEST(List, removing_all_elements_is_not_quadratic) {
    constexpr int n = 400'000;
    List<int> list = upTo(n);
    for (int i = 0; i < n / 2; ++i) list.erase(1);
    for (int size = n / 2; size > 0; --size) list.erase(size / 2 + 1);
    EXPECT_EQ(list.size(), 0);
}

TEST(ListDeath, positions_out_of_bounds_end_the_program) {
    List<int> list = upTo(2);
    const auto ends = testing::ExitedWithCode(1);
    EXPECT_EXIT(list[0], ends,
                testing::HasSubstr("code error in List::operator[] - index 0 out of bounds"));
    EXPECT_EXIT(list[3], ends,
                testing::HasSubstr("code error in List::operator[] - index 3 out of bounds"));
    EXPECT_EXIT(list.insert(4, 1), ends,
                testing::HasSubstr("code error in List::insert - index 4 out of bounds"));
    EXPECT_EXIT(list.erase(3), ends,
                testing::HasSubstr("error in List::erase: index 3 out of bounds"));
    EXPECT_EXIT(List<int>().first_cpt(), ends, testing::HasSubstr("index error in list<T>"));
}

}  // namespace
