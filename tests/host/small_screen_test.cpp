// The window on a screen that is too small for it: an X server without a monitor, and a window
// manager.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>
#include <thread>

#include "tests/host/support/bundle_maker.h"
#include "tests/host/support/host_run.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace {

constexpr int kWidth = 1400;
constexpr int kHeight = 1000;
constexpr std::chrono::seconds kLongest{60};

// A program that runs until the test ends.
class Background {
  public:
    explicit Background(const std::string& command) : id_(::fork()) {
        if (id_ != 0) return;
        ::execl("/bin/sh", "sh", "-c", ("exec " + command).c_str(), nullptr);
        ::_exit(127);
    }
    ~Background() {
        ::kill(id_, SIGTERM);
        ::waitpid(id_, nullptr, 0);
    }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

  private:
    pid_t id_;
};

std::string outputOf(const std::string& command) {
    std::string output;
    std::FILE* pipe = ::popen(command.c_str(), "re");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        output.push_back(static_cast<char>(c));
    ::pclose(pipe);
    return output;
}

struct Frame {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class SmallScreen : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const char* program : {"Xvfb", "openbox", "xdotool"})
            if (outputOf(std::string("command -v ") + program).empty())
                GTEST_SKIP() << program << " is not installed";
        const std::string number = folder_ / "display";
        const std::string size = std::to_string(kWidth) + "x" + std::to_string(kHeight) + "x24";
        // Without -noreset the server restarts when the only client ends, such as the one that
        // looks for the window manager, and the manager that is just connecting ends as well.
        server_ =
            std::make_unique<Background>("Xvfb -displayfd 3 -noreset -nolisten tcp -screen 0 " +
                                         size + " 3>'" + number + "' 2>/dev/null");
        waitFor("the X server", [&] { return readFile(number).ends_with('\n'); });
        display_ = ":" + readFile(number).substr(0, readFile(number).find('\n'));
        manager_ = std::make_unique<Background>("env DISPLAY=" + display_ +
                                                " openbox --sm-disable >/dev/null 2>&1");
        // Without a window manager there is no current desktop.
        waitFor("the window manager", [&] {
            return !outputOf("DISPLAY=" + display_ + " xdotool get_desktop >/dev/null 2>&1 && " +
                             "echo yes")
                        .empty();
        });
    }

    static void waitFor(const char* what, const std::function<bool()>& condition) {
        const auto until = std::chrono::steady_clock::now() + kLongest;
        while (!condition()) {
            ASSERT_LT(std::chrono::steady_clock::now(), until) << what;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    std::string xdotool(const std::string& arguments) const {
        return outputOf("DISPLAY=" + display_ + " xdotool " + arguments + " 2>/dev/null");
    }
    // Waits until the window is shown and active. Returns it without the manager's frame.
    Frame windowOnScreen() const {
        waitFor("the window",
                [&] { return xdotool("getactivewindow getwindowname").starts_with("Install "); });
        Frame frame;
        std::istringstream lines(xdotool("getactivewindow getwindowgeometry --shell"));
        for (std::string line; std::getline(lines, line);) {
            const std::string name = line.substr(0, line.find('='));
            const int value = std::atoi(line.substr(line.find('=') + 1).c_str());
            if (name == "X") frame.x = value;
            if (name == "Y") frame.y = value;
            if (name == "WIDTH") frame.width = value;
            if (name == "HEIGHT") frame.height = value;
        }
        return frame;
    }
    std::vector<std::string> transcript() const { return linesOf(folder_ / "transcript"); }

    TempFolder folder_;
    std::unique_ptr<Background> server_;
    std::unique_ptr<Background> manager_;
    std::string display_;
};

// The toolkit's X11 libraries never free some of their memory, so leaks are not detected.
TEST_F(SmallScreen, AtDoubleScaleTheWholeWindowIsOnItAndContinueCanBeClicked) {
    HostProcess host(
        folder_, {makeBundle(folder_, "X.bundle", "Shows"), "--transcript", folder_ / "transcript"},
        {{"DISPLAY", display_},
         {"QT_QPA_PLATFORM", "xcb"},
         {"QT_SCALE_FACTOR", "2"},
         {"ASAN_OPTIONS", "detect_leaks=0"},
         {"INSTALLER_TEST_RECORD", folder_ / "record"}});
    const Frame window = windowOnScreen();
    EXPECT_GE(window.x, 0);
    EXPECT_GE(window.y, 0);
    EXPECT_LE(window.x + window.width, kWidth);
    EXPECT_LE(window.y + window.height, kHeight);
    EXPECT_GT(window.width, kWidth * 3 / 4);
    EXPECT_GT(window.height, kHeight * 3 / 4);

    // Clicks the middle of the button in the lower right corner.
    xdotool("getactivewindow mousemove --window %1 " + std::to_string(window.width - 140) + " " +
            std::to_string(window.height - 84) + " click 1");
    waitFor("the next step",
            [&] { return !transcript().empty() && transcript().back() == "on screen: “Shows”"; });
    ::kill(host.id(), SIGTERM);
    EXPECT_EQ(host.wait().status, 0);
}

}  // namespace
}  // namespace quillmoor::test
