#include "quillmoor/log/KXException.h"

#include "quillmoor/platform/uncaught_exceptions.h"
#include "tests/log/log_fixture.h"

namespace quillmoor {
namespace {

using platform::Exception;
using KXExceptionReport = test::LogTest;

TEST_F(KXExceptionReport, IsReturnedLoggedAndPrinted) {
    KXLog::createNewLog();
    const Exception bad("Bad", "no path");
    EXPECT_EQ(KXException::logException(&bad, "launch"), "Exception in launch. Bad - no path.");
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).back(), "Exception in launch. Bad - no path.");
    EXPECT_EQ(console_.printed(), "Exception in launch. Bad - no path.\n");
}

TEST_F(KXExceptionReport, OfNullHasNullForNameAndReason) {
    EXPECT_EQ(KXException::logException(nullptr, "launch"),
              "Exception in launch. (null) - (null).");
    EXPECT_EQ(KXException::logException(nullptr, nullptr), "Exception in (null). (null) - (null).");
}

TEST_F(KXExceptionReport, ADirectiveInTheReasonIsRenderedByTheLog) {
    KXLog::createNewLog();
    const Exception bad("Bad", "at 100%d");
    EXPECT_EQ(KXException::logException(&bad, "m"), "Exception in m. Bad - at 100%d.");
    KXLog::finishWriting();
    EXPECT_EQ(messages(logPath(1)).back(), "Exception in m. Bad - at 1000.");
}

TEST(DidTimeout, NeedsTheExactName) {
    const auto named = [](const char* name) {
        const Exception exception(name, "x");
        return KXException::didTimeout(&exception);
    };
    EXPECT_TRUE(named("NSPortTimeoutException"));
    EXPECT_FALSE(named("nsporttimeoutexception"));
    EXPECT_FALSE(named("NSPortTimeout"));
    EXPECT_FALSE(named("NSPortTimeoutException "));
    EXPECT_FALSE(named(""));
    EXPECT_FALSE(KXException::didTimeout(nullptr));
}

TEST_F(KXExceptionReport, TheUncaughtHandlerWritesExactlyTheReasonAndWaits) {
    KXLog::createNewLog();
    const Exception bad("Bad", "out of cheese");
    uncaughtExceptionHandler(&bad);
    EXPECT_EQ(messages(logPath(1)).back(), "out of cheese");
    EXPECT_EQ(console_.printed(), "out of cheese\n");
}

TEST_F(KXExceptionReport, TheFirstUseOfTheLogReplacesAnEarlierHandler) {
    const auto own = [](const Exception*) {};
    platform::setUncaughtExceptionHandler(own);
    KXLog::sharedController();
    const auto inForce = platform::uncaughtExceptionHandlerInForce();
    EXPECT_NE(inForce, nullptr);
    EXPECT_NE(inForce, static_cast<platform::UncaughtExceptionHandler>(own));
    platform::setUncaughtExceptionHandler(own);
    KXLog::sharedController();
    EXPECT_EQ(platform::uncaughtExceptionHandlerInForce(),
              static_cast<platform::UncaughtExceptionHandler>(own));
}

TEST(UncaughtHandler, IsNotInstalledByAProcessThatNeverLogs) {
    EXPECT_EQ(platform::uncaughtExceptionHandlerInForce(), nullptr);
}

}  // namespace
}  // namespace quillmoor
