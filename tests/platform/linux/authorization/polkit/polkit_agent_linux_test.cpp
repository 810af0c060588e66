#include "quillmoor/platform/linux/authorization/polkit/polkit_agent_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>

#include "quillmoor/platform/linux/authorization/polkit/own_process_linux.h"
#include "quillmoor/platform/linux/authorization/polkit/sd_bus_linux.h"
#include "tests/platform/linux/authorization/support/authorization_fixtures.h"
#include "tests/platform/linux/authorization/support/fake_polkit.h"

namespace quillmoor::platform::linux_::authorization {
namespace {

using test::FakePolkit;
using testing::ElementsAre;

constexpr uid_t kUser = 4711;
constexpr char kRefused[] = "org.freedesktop.PolicyKit1.Error.Failed";
constexpr char kCancelled[] = "org.freedesktop.PolicyKit1.Error.Cancelled";
constexpr char kPrompt[] = "PAM_PROMPT_ECHO_OFF Password: \n";

// The test is polkit, and the program that checks the password.
class PolkitAgentTest : public testing::Test {
  protected:
    void SetUp() override {
        if (sdBus() == nullptr) GTEST_SKIP() << "libsystemd is not installed";
        LaunchSetup setup;
        setup.path = "/bin/sleep";
        setup.arguments = {"1000"};
        launcher_ = LaunchChild::start(setup);
        ASSERT_NE(launcher_, nullptr);
    }
    void TearDown() override {
        polkit_.serveDuring([&] { agent_.reset(); });
        if (launcher_) launcher_->kill();
    }

    void makeAgent(const std::string& address) {
        agent_ = std::make_unique<PolkitAgent>(
            *sdBus(), address, kUser,
            [this](const std::string& cookie) { return startProgram(cookie); });
    }
    PolkitAgent::State registerAgent() {
        polkit_.serveDuring([&] { makeAgent(polkit_.address()); });
        return agent_->state();
    }
    std::unique_ptr<PolkitConversation> startProgram(const std::string& cookie) {
        cookies_.push_back(cookie);
        if (hasNoProgram_) return nullptr;
        test::Connection connection;
        program_ = std::move(connection.second);
        return std::make_unique<PolkitConversation>(std::move(connection.first), nullptr,
                                                    "pass word");
    }
    // What the launcher's request looks like.
    FakePolkit::Request request() const {
        FakePolkit::Request request;
        request.details = {{"polkit.caller-pid", std::to_string(launcher_->pid())},
                           {"polkit.subject-pid", std::to_string(::getpid())},
                           {"program", "/bin/true"}};
        request.identities = {{"unix-user", 0}, {"unix-user", kUser}};
        return request;
    }

    // Lets the agent work until something other than "pending" has come, or for `rounds`.
    std::string answerTo(std::uint64_t message) {
        std::string reply;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        do goesOn_ = agent_->proceed(*launcher_);
        while ((reply = polkit_.replyTo(message)) == "pending" &&
               std::chrono::steady_clock::now() < limit);
        return reply;
    }
    std::string answerTo(const FakePolkit::Request& request) {
        return answerTo(polkit_.begin(request));
    }
    // Lets the agent take on the launcher's request.
    std::uint64_t beginOwn() {
        const std::uint64_t message = polkit_.begin(request());
        while (!program_) goesOn_ = agent_->proceed(*launcher_);
        return message;
    }
    void programSays(const std::string& text) {
        ASSERT_EQ(::send(program_.get(), text.data(), text.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(text.size()));
        goesOn_ = agent_->proceed(*launcher_);
    }
    std::string given() const {
        char line[256];
        const ssize_t count = ::recv(program_.get(), line, sizeof line, MSG_DONTWAIT);
        return count > 0 ? std::string(line, static_cast<std::size_t>(count)) : "";
    }
    void expectRefused(const FakePolkit::Request& other) {
        EXPECT_EQ(answerTo(other), kRefused);
        EXPECT_THAT(cookies_, ElementsAre());
        EXPECT_TRUE(goesOn_);
        // The launcher's own is served all the same.
        const std::uint64_t own = beginOwn();
        programSays(kPrompt);
        EXPECT_EQ(given(), "pass word\n");
        programSays("SUCCESS\n");
        EXPECT_EQ(answerTo(own), "returned");
    }

    FakePolkit polkit_;
    std::unique_ptr<LaunchChild> launcher_;
    std::unique_ptr<PolkitAgent> agent_;
    posix::Descriptor program_;
    std::vector<std::string> cookies_;
    bool hasNoProgram_ = false;
    bool goesOn_ = true;
};

TEST_F(PolkitAgentTest, IsRegisteredForThisProcessUntilItsEnd) {
    EXPECT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const std::string subject = "unix-process pid=" + std::to_string(::getpid()) +
                                "u start-time=" + std::to_string(*ownStartTime()) +
                                "t uid=" + std::to_string(::getuid()) + "i ";
    EXPECT_EQ(polkit_.lastSubject, subject + "C /com/quillmoor/rights/Agent");
    polkit_.serveDuring([&] { agent_.reset(); });
    EXPECT_EQ(polkit_.lastSubject, subject + "/com/quillmoor/rights/Agent");
    EXPECT_THAT(polkit_.calls, ElementsAre("watch", "register", "unregister"));
}

TEST_F(PolkitAgentTest, SendsThePasswordForTheLaunchersRequest) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const std::uint64_t message = beginOwn();
    EXPECT_THAT(cookies_, ElementsAre("cookie-1"));
    EXPECT_FALSE(agent_->wasAsked());
    programSays(kPrompt);
    EXPECT_EQ(given(), "pass word\n");
    EXPECT_TRUE(agent_->wasAsked());
    EXPECT_EQ(polkit_.replyTo(message), "pending");
    programSays("SUCCESS\n");
    EXPECT_EQ(answerTo(message), "returned");
    EXPECT_TRUE(goesOn_);
    EXPECT_FALSE(agent_->hasFailed());
}

TEST_F(PolkitAgentTest, AcceptsTheActionOfTheInstalledPolicy) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    FakePolkit::Request own = request();
    own.action = "com.quillmoor.rights";
    polkit_.begin(own);
    for (int round = 0; round < 10'000 && !program_; ++round) agent_->proceed(*launcher_);
    EXPECT_TRUE(program_);
}

TEST_F(PolkitAgentTest, RefusesARequestOfAnotherSender) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    FakePolkit::Request other = request();
    for (const char* sender : {":1.8", "org.freedesktop.PolicyKit1", ":1.77"}) {
        other.sender = sender;
        EXPECT_EQ(answerTo(other), kRefused) << sender;
    }
    expectRefused(other);
}

TEST_F(PolkitAgentTest, RefusesARequestOfAnotherCaller) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    FakePolkit::Request other = request();
    for (const std::string& caller :
         {std::to_string(::getpid()), std::to_string(launcher_->pid()) + "0", std::string()}) {
        other.details["polkit.caller-pid"] = caller;
        EXPECT_EQ(answerTo(other), kRefused) << caller;
    }
    other.details.erase("polkit.caller-pid");
    expectRefused(other);
}

TEST_F(PolkitAgentTest, RefusesARequestForAnotherSubject) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    FakePolkit::Request other = request();
    other.details["polkit.subject-pid"] = std::to_string(launcher_->pid());
    EXPECT_EQ(answerTo(other), kRefused);
    other.details.erase("polkit.subject-pid");
    expectRefused(other);
}

TEST_F(PolkitAgentTest, RefusesARequestForAnotherAction) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    FakePolkit::Request other = request();
    for (const char* action : {"", "com.quillmoor.rights2", "org.freedesktop.login1.reboot"}) {
        other.action = action;
        EXPECT_EQ(answerTo(other), kRefused) << action;
    }
    expectRefused(other);
}

TEST_F(PolkitAgentTest, RefusesARequestThatItsUserMayNotAnswer) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    FakePolkit::Request other = request();
    other.identities = {};
    EXPECT_EQ(answerTo(other), kRefused);
    other.identities = {{"unix-user", 0}, {"unix-group", kUser}, {"unix-netgroup", kUser}};
    expectRefused(other);
}

TEST_F(PolkitAgentTest, FindsItsUserAmongOtherIdentities) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    FakePolkit::Request own = request();
    own.identities = {{"unix-group", 27}, {"unix-user", kUser}, {"unix-user", 5}};
    polkit_.begin(own);
    for (int round = 0; round < 10'000 && !program_; ++round) agent_->proceed(*launcher_);
    EXPECT_TRUE(program_);
}

TEST_F(PolkitAgentTest, RefusesARequestWithoutWhatItNeeds) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    EXPECT_EQ(answerTo(polkit_.call(":1.7", "org.freedesktop.PolicyKit1.AuthenticationAgent",
                                    "BeginAuthentication")),
              kRefused);
    EXPECT_THAT(cookies_, ElementsAre());
}

TEST_F(PolkitAgentTest, RefusesALauncherThatHasEnded) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    launcher_->kill();
    ASSERT_TRUE(isReadable(launcher_->exitDescriptor(), std::chrono::seconds(10)));
    EXPECT_EQ(answerTo(request()), kRefused);
    EXPECT_THAT(cookies_, ElementsAre());
}

TEST_F(PolkitAgentTest, AcceptsOneRequestOnly) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const std::uint64_t first = beginOwn();
    FakePolkit::Request second = request();
    second.cookie = "cookie-2";
    EXPECT_EQ(answerTo(second), kRefused);
    programSays(kPrompt);
    programSays("FAILURE\n");
    EXPECT_EQ(answerTo(first), kRefused);
    EXPECT_EQ(answerTo(second), kRefused);
    EXPECT_THAT(cookies_, ElementsAre("cookie-1"));
    EXPECT_TRUE(goesOn_);
}

TEST_F(PolkitAgentTest, RefusesAWrongPassword) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const std::uint64_t message = beginOwn();
    programSays(kPrompt);
    programSays("FAILURE\n");
    EXPECT_EQ(answerTo(message), kRefused);
    EXPECT_TRUE(agent_->wasAsked());
    EXPECT_FALSE(agent_->hasFailed());
}

TEST_F(PolkitAgentTest, FailsWhereNothingChecksThePassword) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    hasNoProgram_ = true;
    EXPECT_EQ(answerTo(request()), kRefused);
    EXPECT_TRUE(agent_->hasFailed());
    EXPECT_FALSE(agent_->wasAsked());
}

TEST_F(PolkitAgentTest, FailsWhenWhatChecksThePasswordEndsUnasked) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const std::uint64_t message = beginOwn();
    program_.reset();
    EXPECT_EQ(answerTo(message), kRefused);
    EXPECT_TRUE(agent_->hasFailed());
    EXPECT_FALSE(agent_->wasAsked());
}

TEST_F(PolkitAgentTest, EndsItsProgramWhenItsRequestIsCancelled) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const std::uint64_t message = beginOwn();
    EXPECT_EQ(answerTo(polkit_.cancel(":1.7", "cookie-1")), "returned");
    EXPECT_EQ(answerTo(message), kCancelled);
    char byte = 0;
    EXPECT_EQ(::recv(program_.get(), &byte, 1, MSG_DONTWAIT), 0);
    EXPECT_FALSE(agent_->wasAsked());
    EXPECT_EQ(answerTo(polkit_.cancel(":1.7", "cookie-1")), kRefused);
}

TEST_F(PolkitAgentTest, IsCancelledOnlyByPolkitForItsOwnRequest) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const std::uint64_t message = beginOwn();
    EXPECT_EQ(answerTo(polkit_.cancel(":1.8", "cookie-1")), kRefused);
    EXPECT_EQ(answerTo(polkit_.cancel(":1.7", "cookie-2")), kRefused);
    EXPECT_EQ(answerTo(polkit_.cancel(":1.7", "")), kRefused);
    EXPECT_EQ(answerTo(polkit_.call(":1.7", "org.freedesktop.PolicyKit1.AuthenticationAgent",
                                    "CancelAuthentication")),
              kRefused);
    EXPECT_EQ(polkit_.replyTo(message), "pending");
    programSays(kPrompt);
    EXPECT_EQ(given(), "pass word\n");
    programSays("SUCCESS\n");
    EXPECT_EQ(answerTo(message), "returned");
}

TEST_F(PolkitAgentTest, PinsTheDaemonThatHasRegisteredIt) {
    polkit_.registrar = ":1.9";
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    EXPECT_EQ(answerTo(request()), kRefused);
    FakePolkit::Request own = request();
    own.sender = ":1.9";
    polkit_.begin(own);
    for (int round = 0; round < 10'000 && !program_; ++round) agent_->proceed(*launcher_);
    EXPECT_TRUE(program_);
}

TEST_F(PolkitAgentTest, RefusesRequestsBeforeItIsRegistered) {
    std::uint64_t early = 0;
    polkit_.beforeRegistration = [&] { early = polkit_.begin(request()); };
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    EXPECT_EQ(answerTo(early), kRefused);
    EXPECT_THAT(cookies_, ElementsAre());
}

TEST_F(PolkitAgentTest, AbandonsTheLaunchWhenPolkitHasEnded) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    polkit_.changeOwner(":1.8");  // a signal that is not from the bus
    for (int round = 0; round < 10; ++round) EXPECT_TRUE(agent_->proceed(*launcher_));
    polkit_.changeOwner("org.freedesktop.DBus");
    for (int round = 0; round < 10'000 && goesOn_; ++round) goesOn_ = agent_->proceed(*launcher_);
    EXPECT_FALSE(goesOn_);
}

TEST_F(PolkitAgentTest, AbandonsTheLaunchWhenTheBusHasEnded) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    polkit_.closeConnection();
    for (int round = 0; round < 10'000 && goesOn_; ++round) goesOn_ = agent_->proceed(*launcher_);
    EXPECT_FALSE(goesOn_);
}

TEST_F(PolkitAgentTest, WaitsForTheBusAndForWhatChecksThePassword) {
    ASSERT_EQ(registerAgent(), PolkitAgent::State::Registered);
    const auto isAwaited = [&] {
        std::vector<pollfd> polled;
        agent_->await(polled);
        return ::poll(polled.data(), polled.size(), 10'000) > 0;
    };
    polkit_.begin(request());
    EXPECT_TRUE(isAwaited());
    while (!program_) agent_->proceed(*launcher_);
    ASSERT_EQ(::send(program_.get(), "PAM", 3, 0), 3);
    EXPECT_TRUE(isAwaited());
}

TEST_F(PolkitAgentTest, IsNotRegisteredWithoutABus) {
    makeAgent("unix:path=/nonexistent/bus");
    EXPECT_EQ(agent_->state(), PolkitAgent::State::NoAuthority);
    makeAgent("no address");
    EXPECT_EQ(agent_->state(), PolkitAgent::State::NoAuthority);
}

TEST_F(PolkitAgentTest, IsNotRegisteredWhereTheBusKnowsNoPolkit) {
    polkit_.registrar = "org.freedesktop.DBus";
    polkit_.registrationError = "org.freedesktop.DBus.Error.ServiceUnknown";
    EXPECT_EQ(registerAgent(), PolkitAgent::State::NoAuthority);
}

TEST_F(PolkitAgentTest, IsNotRegisteredWherePolkitRefusesIt) {
    polkit_.registrationError = "org.freedesktop.PolicyKit1.Error.Failed";
    EXPECT_EQ(registerAgent(), PolkitAgent::State::Failed);
    polkit_.serveDuring([&] { agent_.reset(); });
    EXPECT_THAT(polkit_.calls, ElementsAre("watch", "register"));
}

}  // namespace
}  // namespace quillmoor::platform::linux_::authorization
