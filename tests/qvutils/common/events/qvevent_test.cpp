#include "qvutils/common/events/qvevent.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

std::string journal;

std::string taken() {
    return std::exchange(journal, {});
}

/// Writes "name:tag " when called and then does what it is told.
struct Listener : qvEventListener {
    explicit Listener(std::string name, std::function<void(qvEvent&)> action = {})
        : name(std::move(name)), action(std::move(action)) {}

    void OnEvent(qvEvent& event, int tag) override {
        journal += name + ":" + std::to_string(tag) + " ";
        // The action may destroy this listener.
        const auto copy = action;
        if (copy) copy(event);
    }

    std::string name;
    std::function<void(qvEvent&)> action;
};

struct Handler : qvEventHandler {
    std::function<void()> action;
    void OnEvent(qvEvent& event, int tag) override {
        journal += "handler:" + std::to_string(event.getID()) + "/" + std::to_string(tag) + " ";
        if (action) std::exchange(action, {})();
    }
};

TEST(Events, reach_subscribers_of_their_number_and_of_all_in_order) {
    qvEventSource source;
    EXPECT_FALSE(source.HasListeners());
    source.RaiseEvent(1);
    Listener a("a"), b("b"), all("all");
    b.ListenTo(source, 1, 10);
    all.ListenTo(source, 0, 20);
    a.ListenTo(source, 2, 30);
    a.ListenTo(source, 1, 40);
    a.ListenTo(source, 1, 41);
    a.ListenTo(source, 1, 40);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "b:10 all:20 a:40 a:41 ");
    a.RemoveSource(source, 1);
    source.RaiseEvent(2);
    EXPECT_EQ(taken(), "all:20 a:30 ");
    all.RemoveAllSources(1);
    all.RemoveAllSources(0);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "b:10 ");
    b.RemoveSource(source);
    a.RemoveAllSources();
    EXPECT_FALSE(source.HasListeners());
}

TEST(Events, carry_their_data_and_source) {
    qvEventSource source;
    int x = 0;
    Listener a("a", [&](qvEvent& event) {
        EXPECT_EQ(event.getSource(), &source);
        EXPECT_EQ(event.data1, &x);
        *static_cast<bool*>(event.data2) = false;
    });
    a.ListenTo(source, 5);
    bool allow = true;
    source.RaiseEvent(5, &x, &allow);
    EXPECT_FALSE(allow);
    EXPECT_EQ(taken(), "a:0 ");
    EXPECT_NE(qvEventIDServer::GetEventID(), qvEventIDServer::GetEventID());
}

TEST(Events, a_listener_that_leaves_hears_no_more_and_the_others_do) {
    qvEventSource source;
    Listener a("a"), b("b"), c("c");
    a.action = [&](qvEvent&) {
        a.RemoveSource(source);
        c.RemoveSource(source);
        source.RaiseEvent(1);
    };
    for (Listener* l : {&a, &b, &c}) l->ListenTo(source, 1, 0);
    a.ListenTo(source, 0, 9);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:0 b:0 b:0 ");
    a.action = nullptr;
    a.ListenTo(source, 1, 0);
    c.ListenTo(source, 1, 0);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "b:0 a:0 c:0 ");
}

TEST(Events, a_subscription_taken_back_during_a_raise_keeps_its_place_when_renewed) {
    qvEventSource source;
    Listener a("a"), b("b");
    b.action = [&](qvEvent&) {
        a.RemoveSource(source);
        a.ListenTo(source, 1, 7);
        b.action = nullptr;
    };
    a.ListenTo(source, 1, 7);
    b.ListenTo(source, 1);
    source.RaiseEvent(1);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:7 b:0 a:7 b:0 ");
}

TEST(Events, a_subscription_made_during_a_raise_takes_part_in_it) {
    qvEventSource source;
    Listener late("late");
    Listener a("a", [&](qvEvent&) { late.ListenTo(source, 1, 5); });
    a.ListenTo(source, 1);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:0 late:5 ");
}

TEST(Events, who_leaves_a_list_that_has_grown_during_the_raise_is_not_called) {
    qvEventSource source;
    std::vector<std::unique_ptr<Listener>> all;
    for (const char* name : {"a", "gone", "stays", "late"})
        all.push_back(std::make_unique<Listener>(name));
    all[0]->action = [&](qvEvent&) {
        for (int tag = 1; tag <= 50; ++tag) all[3]->ListenTo(source, tag == 50 ? 1 : 2, tag);
        all[1].reset();
    };
    for (std::size_t i = 0; i < 3; ++i) all[i]->ListenTo(source, 1);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:0 stays:0 late:50 ");
}

TEST(Events, delegates_are_called_while_each_asks_for_the_next) {
    qvEventSource source;
    const auto pass = [](qvEvent& event) { event.Delegate(); };
    Listener a("a", pass), b("b", pass), c("c", pass), after("after");
    a.setDelegate(&b);
    b.setDelegate(&c);
    a.ListenTo(source, 1, 3);
    after.ListenTo(source, 1, 4);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:3 b:3 c:3 after:4 ");
    b.action = nullptr;
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:3 b:3 after:4 ");
    EXPECT_EXIT(c.setDelegate(&a), testing::ExitedWithCode(1), "ring");
    a.setDelegate(&c);
    a.setDelegate(nullptr);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:3 after:4 ");
}

TEST(Events, destroyed_delegates_and_delegators_are_forgotten) {
    qvEventSource source;
    Listener after("after");
    auto last = std::make_unique<Listener>("last");
    auto b = std::make_unique<Listener>("b");
    auto a = std::make_unique<Listener>("a", [](qvEvent& event) { event.Delegate(); });
    a->setDelegate(b.get());
    b->setDelegate(last.get());
    b->action = [&](qvEvent& event) {
        event.Delegate();
        b.reset();
    };
    a->ListenTo(source, 1);
    after.ListenTo(source, 1);
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:0 b:0 after:0 ");
    EXPECT_EQ(a->GetDelegate(), nullptr);
    a->setDelegate(last.get());
    a->action = [&](qvEvent& event) {
        event.Delegate();
        a.reset();
    };
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:0 after:0 ");
}

TEST(Events, listeners_may_destroy_each_other_and_themselves) {
    qvEventSource source;
    std::vector<std::unique_ptr<Listener>> all;
    for (int i = 0; i < 40; ++i) {
        all.push_back(std::make_unique<Listener>(std::to_string(i)));
        all.back()->ListenTo(source, 1, i);
        all.back()->ListenTo(source, 0, 100 + i);
    }
    all[3]->action = [&](qvEvent&) {
        for (int i = 0; i < 39; ++i) all[static_cast<std::size_t>(i)].reset();
    };
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "0:0 0:100 1:1 1:101 2:2 2:102 3:3 39:39 39:139 ");
    source.RaiseEvent(2);
    EXPECT_EQ(taken(), "39:139 ");
}

TEST(Events, a_source_destroyed_by_a_listener_ends_every_raise_of_it) {
    auto source = std::make_unique<qvEventSource>();
    qvEventSource other;
    Listener after("after"), never("never");
    Listener killer("killer", [&](qvEvent& event) {
        event.Delegate();
        source.reset();
        EXPECT_EQ(event.getSource(), nullptr);
    });
    killer.setDelegate(&never);
    Listener outer("outer", [&](qvEvent&) { other.RaiseEvent(2); });
    outer.ListenTo(*source, 1);
    never.ListenTo(*source, 1);
    Listener inner("inner", [&](qvEvent&) { source->RaiseEvent(3); });
    inner.ListenTo(other, 2);
    after.ListenTo(other, 2);
    killer.ListenTo(*source, 3);
    never.ListenTo(*source, 3);
    source->RaiseEvent(1);
    EXPECT_EQ(taken(), "outer:0 inner:0 killer:0 after:0 ");
}

TEST(Events, one_event_may_be_raised_again_on_another_source) {
    qvEventSource first, second;
    Listener a("a"), b("b"), c("c");
    a.action = [&](qvEvent& event) { second.RaiseEvent(event); };
    b.action = [&](qvEvent& event) { EXPECT_EQ(event.getSource(), &second); };
    c.action = [&](qvEvent& event) { EXPECT_EQ(event.getSource(), &first); };
    a.ListenTo(first, 1);
    b.ListenTo(second, 1);
    c.ListenTo(first, 1);
    first.RaiseEvent(1);
    EXPECT_EQ(taken(), "a:0 b:0 c:0 ");
}

TEST(Events, records_survive_nested_raises_and_depth_is_counted) {
    qvEventSource source;
    std::vector<std::unique_ptr<Listener>> temporary;
    int depth = 0;
    Listener again("again", [&](qvEvent&) {
        if (qvEventSource::RaiseDepth() < 20) {
            temporary.push_back(std::make_unique<Listener>("t"));
            temporary.back()->ListenTo(source, 1, qvEventSource::RaiseDepth());
            source.RaiseEvent(1);
            temporary.clear();
        }
        depth = std::max(depth, qvEventSource::RaiseDepth());
    });
    Listener last("last");
    again.ListenTo(source, 1);
    last.ListenTo(source, 1);
    source.RaiseEvent(1);
    EXPECT_EQ(depth, 20);
    EXPECT_EQ(qvEventSource::RaiseDepth(), 0);
    taken();
    again.action = nullptr;
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "again:0 last:0 ");
}

TEST(Events, an_exception_from_a_listener_leaves_the_source_usable) {
    qvEventSource source;
    Listener a("a", [](qvEvent&) { throw 1; });
    a.ListenTo(source, 1);
    EXPECT_THROW(source.RaiseEvent(1), int);
    EXPECT_EQ(qvEventSource::RaiseDepth(), 0);
    a.RemoveSource(source);
    EXPECT_FALSE(source.HasListeners());
    taken();
}

TEST(Events, handlers_stand_in_for_listeners_until_either_dies) {
    qvEventSource source;
    auto handler = std::make_unique<Handler>();
    auto a = std::make_unique<qvEventListener>();
    qvEventListener b, c;
    for (qvEventListener* l : {a.get(), &b, &c}) {
        l->setEventHandler(*handler);
        l->ListenTo(source, 1, l == &b);
    }
    Handler other;
    c.setEventHandler(other);
    c.setEventHandler(*handler);
    a.reset();
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "handler:1/1 handler:1/0 ");
    handler->action = [&] { handler.reset(); };
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "handler:1/1 ");
}

TEST(Events, subscriptions_stay_exact_when_they_are_many) {
    qvEventSource source;
    std::vector<std::unique_ptr<Listener>> all;
    for (int i = 0; i < 20000; ++i) {
        all.push_back(std::make_unique<Listener>(std::to_string(i)));
        all.back()->ListenTo(source, i % 5 + 1, i);
        all.back()->ListenTo(source, i % 5 + 1, i);
    }
    Listener many("many");
    for (int tag = 0; tag < 20000; ++tag) many.ListenTo(source, 77, tag);
    many.RemoveSource(source, 76);
    for (std::size_t i = all.size(); i-- > 3;)
        all[i]->RemoveSource(source, static_cast<int>(i) % 5 + 1);
    source.RaiseEvent(1);
    source.RaiseEvent(3);
    EXPECT_EQ(taken(), "0:0 2:2 ");
    many.RemoveSource(source, 77);
    source.RaiseEvent(77);
    EXPECT_EQ(taken(), "");
    all[2]->ListenTo(source, 1, 2);
    all[0]->RemoveAllSources();
    all.pop_back();
    source.RaiseEvent(1);
    EXPECT_EQ(taken(), "2:2 ");
}

}  // namespace
