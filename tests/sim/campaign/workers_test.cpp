#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

#include "sim/campaign/workers.h"

namespace kvnsim {
namespace {

/* Collects what becomes of each item. */
class WorkersTest : public testing::Test {
protected:
    Workers::Done collect()
    {
        return [this](uint64_t item, Workers::Result result) {
            EXPECT_TRUE(results.emplace(item, std::move(result)).second)
                << item << " is done twice";
        };
    }
    /* Work on items from 1 on. */
    template <class Work> void campaign(uint64_t items, Workers::Options options, Work work)
    {
        Workers workers(std::move(options), collect());
        for (uint64_t item = 1; item <= items; ++item) {
            if (workers.start(item))
                workers.finish(work(item));
        }
        workers.finish_all();
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
        EXPECT_EQ(errno, ECHILD);
    }
    static Workers::Options jobs(uint32_t count)
    {
        Workers::Options options;
        options.jobs = count;
        return options;
    }

    std::map<uint64_t, Workers::Result> results;
};

/* Ends when the other end of the pipe is written to or closed. */
void wait_at(int pipe)
{
    char byte = 0;
    while (::read(pipe, &byte, 1) < 0 && errno == EINTR) {
    }
}

TEST_F(WorkersTest, EveryItemHasItsResult)
{
    for (uint32_t at_once : {1u, 3u, 0u}) {
        results.clear();
        campaign(40, jobs(at_once), [](uint64_t item) { return std::to_string(item * item); });
        ASSERT_EQ(results.size(), 40u);
        for (const auto &[item, result] : results) {
            EXPECT_EQ(result.text, std::to_string(item * item));
            EXPECT_EQ(result.death, "");
        }
    }
}

TEST_F(WorkersTest, ResultsOfAnySizeArriveWhole)
{
    const auto text = [](uint64_t item) {
        const size_t size = item == 1 ? 0 : static_cast<size_t>(item) * 1000003;
        return std::string(size, static_cast<char>('a' + item)) + '\0';
    };
    campaign(5, jobs(3), text);
    ASSERT_EQ(results.size(), 5u);
    for (const auto &[item, result] : results)
        EXPECT_TRUE(result.text == text(item)) << item;
}

TEST_F(WorkersTest, AChildGoesOnFromTheParentsStateAndLeavesItAlone)
{
    int state = 0;
    Workers workers(jobs(2), collect());
    for (uint64_t item = 1; item <= 4; ++item) {
        ++state;
        if (workers.start(item)) {
            state *= 100;
            workers.finish(std::to_string(state));
        }
    }
    workers.finish_all();
    EXPECT_EQ(state, 4);
    for (uint64_t item = 1; item <= 4; ++item)
        EXPECT_EQ(results.at(item).text, std::to_string(100 * item));
}

TEST_F(WorkersTest, NoMoreThanTheGivenNumberWorkAtOnce)
{
    int gate[2];
    ASSERT_EQ(::pipe(gate), 0);
    size_t started = 0, most = 0;
    Workers::Options options = jobs(3);
    options.stop = [&] {
        const size_t at_work = started - results.size();
        most = std::max(most, at_work);
        if (at_work == 3 || started == 12) {
            EXPECT_EQ(::write(gate[1], "+", 1), 1); /* lets one go */
        }
        return false;
    };
    Workers workers(options, collect());
    for (uint64_t item = 1; item <= 12; ++item) {
        if (workers.start(item)) {
            wait_at(gate[0]);
            workers.finish("");
        }
        ++started;
    }
    workers.finish_all();
    EXPECT_EQ(most, 3u);
    EXPECT_EQ(results.size(), 12u);
    ::close(gate[0]);
    ::close(gate[1]);
}

TEST_F(WorkersTest, AChildThatDiesIsToldAndTheOthersGoOn)
{
    campaign(5, jobs(2), [](uint64_t item) {
        if (item == 1) {
            std::signal(SIGSEGV, SIG_DFL); /* without the checkers' report */
            ::raise(SIGSEGV);
        }
        if (item == 2)
            ::_exit(3);
        if (item == 3)
            ::_exit(0);
        if (item == 4)
            ::kill(::getpid(), SIGKILL);
        return "done";
    });
    ASSERT_EQ(results.size(), 5u);
    EXPECT_EQ(results.at(1).death, "killed by signal 11 (Segmentation fault)");
    EXPECT_EQ(results.at(2).death, "ended with status 3");
    EXPECT_EQ(results.at(3).death, "ended with status 0");
    EXPECT_EQ(results.at(4).death, "killed by signal 9 (Killed)");
    EXPECT_EQ(results.at(5).death, "");
    EXPECT_EQ(results.at(5).text, "done");
}

TEST_F(WorkersTest, AnExceptionEndsTheChildOnly)
{
    try {
        Workers workers(jobs(1), collect());
        if (workers.start(1))
            throw std::runtime_error("in the child");
        workers.finish_all();
    } catch (const std::runtime_error &) {
        ::_exit(0); /* the child got out */
    }
    EXPECT_EQ(results.at(1).death, "ended with status 125");
}

TEST_F(WorkersTest, AChildThatTakesTooLongIsKilled)
{
    Workers::Options options = jobs(2);
    options.limit = std::chrono::milliseconds(500);
    campaign(3, options, [](uint64_t item) {
        while (item == 2)
            ::pause();
        return "done";
    });
    EXPECT_EQ(results.at(1).text, "done");
    EXPECT_EQ(results.at(2).death, "killed after 0.5 s");
    EXPECT_EQ(results.at(3).text, "done");
}

TEST_F(WorkersTest, StoppingKillsTheChildrenAndStartsNoMore)
{
    int never[2];
    ASSERT_EQ(::pipe(never), 0);
    bool stop = false;
    Workers::Options options = jobs(2);
    options.stop = [&] { return stop; };
    {
        Workers workers(options, collect());
        for (uint64_t item = 1; item <= 2; ++item) {
            if (workers.start(item)) {
                wait_at(never[0]);
                workers.finish("");
            }
        }
        EXPECT_FALSE(workers.stopped());
        stop = true;
        EXPECT_FALSE(workers.start(3));
        EXPECT_TRUE(workers.stopped());
        workers.finish_all();
    }
    EXPECT_TRUE(results.empty());
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    ::close(never[0]);
    ::close(never[1]);
}

TEST_F(WorkersTest, ChildrenEndWithTheirParent)
{
    /* The write end of life is open in the child's child only: its end is that process's end. */
    int life[2], begun[2];
    ASSERT_EQ(::pipe(life), 0);
    ASSERT_EQ(::pipe(begun), 0);
    const pid_t parent = ::fork();
    if (parent == 0) {
        Workers workers(jobs(1), collect());
        if (workers.start(1)) {
            if (::write(begun[1], "+", 1) == 1)
                for (;;)
                    ::pause();
        }
        ::close(life[1]);
        for (;;)
            ::pause();
    }
    ::close(life[1]);
    wait_at(begun[0]);
    ::kill(parent, SIGKILL);
    ::waitpid(parent, nullptr, 0);
    wait_at(life[0]); /* or the test never ends */
    for (int end : {life[0], begun[0], begun[1]})
        ::close(end);
}

TEST_F(WorkersTest, CtrlCIsTheParentsMatter)
{
    campaign(1, jobs(1), [](uint64_t) {
        ::raise(SIGINT);
        ::raise(SIGTERM);
        return "done";
    });
    EXPECT_EQ(results.at(1).text, "done");
}

TEST_F(WorkersTest, WhatTheParentHasYetToWriteIsWrittenOnce)
{
    testing::internal::CaptureStdout();
    std::cout << "said once";
    std::fputs(" and this", stdout);
    campaign(3, jobs(2), [](uint64_t) {
        std::cout << std::flush;
        std::fflush(stdout);
        return "";
    });
    std::cout << std::flush;
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "said once and this");
}

} // namespace
} // namespace kvnsim
