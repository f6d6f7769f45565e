// postToDelegate: the one way scanners call their delegates, so what it drops and in what order it
// delivers is what every host sees.
#include "Core/platform/Dispatch.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace core;

namespace {

struct Owner {};

struct Listener {
    std::vector<std::string> heard;
    std::thread::id thread;
};

void say(const std::shared_ptr<Owner>& owner, const std::shared_ptr<Listener>& listener, std::string word) {
    postToDelegate(std::weak_ptr<Owner>(owner), std::weak_ptr<Listener>(listener),
                   [word = std::move(word)](Listener& target) {
                       target.heard.push_back(word);
                       target.thread = std::this_thread::get_id();
                   });
}

TEST(DelegatePost, CallsComeOnTheMainQueueInTheOrderTheyWerePosted) {
    auto owner = std::make_shared<Owner>();
    auto listener = std::make_shared<Listener>();
    auto worker = DispatchQueue::makeSerial("test.worker");
    worker->sync([&] {
        for (const std::string word : {"one", "two", "end"})
            say(owner, listener, word);
    });
    EXPECT_TRUE(listener->heard.empty());
    DispatchQueue::runUntil([&] { return listener->heard.size() == 3; }, std::chrono::seconds(5));
    EXPECT_EQ(listener->heard, (std::vector<std::string>{"one", "two", "end"}));
    EXPECT_EQ(listener->thread, std::this_thread::get_id());
}

TEST(DelegatePost, NothingReachesADelegateWhoseOwnerIsGone) {
    auto owner = std::make_shared<Owner>();
    auto listener = std::make_shared<Listener>();
    say(owner, listener, "late");
    owner.reset();
    DispatchQueue::drainMain();
    EXPECT_TRUE(listener->heard.empty());
}

TEST(DelegatePost, ADelegateThatIsGoneIsNotCalled) {
    auto owner = std::make_shared<Owner>();
    auto listener = std::make_shared<Listener>();
    auto calls = std::make_shared<int>(0);
    postToDelegate(std::weak_ptr<Owner>(owner), std::weak_ptr<Listener>(listener),
                   [calls](Listener&) { ++*calls; });
    listener.reset();
    DispatchQueue::drainMain();
    EXPECT_EQ(*calls, 0);
}

TEST(DelegatePost, AnotherQueueCanBeNamed) {
    auto owner = std::make_shared<Owner>();
    auto listener = std::make_shared<Listener>();
    auto queue = DispatchQueue::makeSerial("test.delegate");
    postToDelegate(queue, std::weak_ptr<Owner>(owner), std::weak_ptr<Listener>(listener),
                   [](Listener& target) { target.heard.push_back(DispatchQueue::current()->label()); });
    queue->sync([] {});
    EXPECT_EQ(listener->heard, (std::vector<std::string>{"test.delegate"}));
}

} // namespace
