#include "host/quit_signals.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <csignal>

namespace quillmoor::host {
namespace {

class QuitSignals : public ::testing::TestWithParam<int> {
  protected:
    ~QuitSignals() override {
        for (const int each : {SIGTERM, SIGINT, SIGHUP}) ::signal(each, SIG_DFL);
    }
};

// Otherwise the program would not end, or would be killed.
TEST_P(QuitSignals, EndTheEventLoopInOrder) {
    quitOnSignals();
    ::raise(GetParam());
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_P(QuitSignals, AFurtherHangUpDoesNotEndTheProcess) {
    quitOnSignals();
    ::raise(GetParam());
    ::raise(SIGHUP);
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

// The event loop does not run here, as when a plug-in hangs.
TEST_P(QuitSignals, AFurtherTerminationEndsTheProcessAtOnce) {
    for (const int second : {SIGTERM, SIGINT}) {
        const auto hurry = [&] {
            quitOnSignals();
            ::raise(GetParam());
            ::raise(second);
        };
        EXPECT_EXIT(hurry(), ::testing::KilledBySignal(second), "");
    }
}

INSTANTIATE_TEST_SUITE_P(All, QuitSignals, ::testing::Values(SIGTERM, SIGINT, SIGHUP));

}  // namespace
}  // namespace quillmoor::host
