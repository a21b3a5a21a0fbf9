#include "app/UnixSignalWatcher.h"
#include "support/EventWait.h"

#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace qf;
using qf::test::waitUntil;

TEST(UnixSignalWatcher, SignalsArriveInTheEventLoopAndTheEarlierHandlersReturn)
{
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    struct sigaction before {};
    ASSERT_EQ(::sigaction(SIGUSR2, &ignore, &before), 0);
    {
        UnixSignalWatcher watcher({SIGUSR1, SIGUSR2});
        ASSERT_TRUE(watcher.isWatching());
        // Only one watcher holds the signals; a second one stays idle.
        UnixSignalWatcher second({SIGHUP});
        EXPECT_FALSE(second.isWatching());

        std::vector<int> received;
        QObject::connect(&watcher, &UnixSignalWatcher::signalReceived, [&](int number) { received.push_back(number); });
        ASSERT_EQ(::kill(::getpid(), SIGUSR1), 0);
        ASSERT_EQ(::kill(::getpid(), SIGUSR2), 0);
        // Delivered to the handler at once, handed on only by the loop.
        EXPECT_TRUE(received.empty());
        EXPECT_TRUE(waitUntil([&] { return received.size() >= 2; }));
        EXPECT_EQ(received, (std::vector<int>{SIGUSR1, SIGUSR2}));
    }
    struct sigaction after {};
    ASSERT_EQ(::sigaction(SIGUSR2, nullptr, &after), 0);
    EXPECT_EQ(after.sa_handler, SIG_IGN);
    ::sigaction(SIGUSR2, &before, nullptr);

    // Once the first is gone, another may take the signals.
    UnixSignalWatcher later({SIGUSR1});
    EXPECT_TRUE(later.isWatching());
}
