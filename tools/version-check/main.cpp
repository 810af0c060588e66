// version-check: the pane's question and its button, for a terminal and for scripts.
#include <csignal>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>

#include "quillmoor/base/paths.h"
#include "quillmoor/pane/installed_product.h"
#include "quillmoor/platform/platform.h"
#include "tools/command/printable.h"
#include "tools/version-check/options.h"
#include "tools/version-check/report.h"

namespace {

using namespace quillmoor;                 // NOLINT(google-build-using-namespace): a main function
using namespace quillmoor::version_check;  // NOLINT(google-build-using-namespace)

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;
constexpr int kLeft = 7;
constexpr int kTimedOut = 8;

// All that a signal handler may touch; 0 without a signal.
volatile std::sig_atomic_t interruption = 0;

void noteInterruption(int number) {
    interruption = number;
}

// What the starting process ignores, as nohup does, stays ignored. Returns the names of the signals
// that the uninstaller is to ignore, too, as the shell's trap has them: not SIGTERM, which ends it.
std::string noteInterruptions() {
    std::string ignored;
    const std::pair<int, const char*> signals[] = {
        {SIGINT, "INT "}, {SIGTERM, ""}, {SIGHUP, "HUP "}};
    for (const auto& [number, name] : signals) {
        if (std::signal(number, noteInterruption) != SIG_IGN) continue;
        std::signal(number, SIG_IGN);
        ignored += name;
    }
    return ignored;
}

int fail(const std::string& reason) {
    std::cerr << "version-check: " << reason << '\n';
    return kFailed;
}

std::string bundleFolder(const Options& options) {
    if (options.bundle) return *options.bundle;
    const OptionalPath program = platform::current().bundles->mainBundle()->executablePath();
    return std::filesystem::path(program.value_or("")).parent_path().string() +
           "/" INSTALLED_BUNDLE;
}

int statusOf(const Removal& removal) {
    switch (removal.outcome) {
        case RemovalOutcome::Opened:
        case RemovalOutcome::Removed:
            return 0;
        case RemovalOutcome::Left:
            return kLeft;
        case RemovalOutcome::TimedOut:
            return kTimedOut;
        case RemovalOutcome::Interrupted:
        case RemovalOutcome::NotUnpacked:
        case RemovalOutcome::NotStarted:
            break;
    }
    return kFailed;
}

// Ends as the signal would have ended the program, so that a shell stops its script as well.
void passOnInterruption() {
    std::signal(interruption, SIG_DFL);
    std::raise(interruption);
}

// Printed as they come, so that a long removal is seen to go on.
class UninstallerOutput {
  public:
    explicit UninstallerOutput(bool isShown) : isShown_(isShown) {}
    void take(const std::string& line) {
        if (isShown_) std::cerr << command::printable(line) << "\n" << std::flush;
        lines_.push_back(line);
    }
    const std::vector<std::string>& lines() const { return lines_; }

  private:
    bool isShown_;
    std::vector<std::string> lines_;
};

int uninstall(const Options& options, const Product& product) {
    const std::string archive =
        bundleFolder(options) + "/Contents/Resources/" + kUninstallerName + "." + kUninstallerType;
    if (!std::filesystem::is_regular_file(archive))
        return fail("there is no uninstaller " + command::quoted(archive));
    UninstallerOutput output(!options.quiet);
    Patience patience;
    patience.ignoredSignals = noteInterruptions();
    patience.timeout = options.timeout;
    patience.isInterrupted = [] { return interruption != 0; };
    const Removal removal =
        options.unattended
            ? runUninstaller(archive, patience, [&](const std::string& line) { output.take(line); })
            : openUninstaller(archive, patience.isInterrupted);
    const int status = statusOf(removal);
    if (options.json) std::cout << json(product, options.compare, removal, output.lines());
    if (status != 0)
        std::cerr << sentence(removal);
    else if (!options.json && !options.quiet)
        std::cout << sentence(removal);
    std::cout.flush();
    if (interruption != 0) passOnInterruption();
    return status;
}

int check(const Options& options) {
    const Product product = findProduct(options.compare);
    if (options.uninstall && product.path) return uninstall(options, product);
    if (options.json)
        std::cout << json(product, options.compare);
    else if (!options.quiet)
        std::cout << sentence(product, options.compare);
    return static_cast<int>(product.state);
}

int finish(int status) {
    std::cout.flush();
    return std::cout ? status : fail("standard output cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
    // A reader that is gone is an output that cannot be written, and must not end a removal.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return finish(check(parseOptions({argv + 1, static_cast<std::size_t>(argc - 1)})));
    } catch (const UsageExit& usage) {
        if (usage.isError()) {
            std::cerr << "version-check: " << usage.what() << "; see version-check --help\n";
            return kWrongUse;
        }
        std::cout << usage.what();
        return finish(0);
    } catch (const std::exception& error) {
        return fail(command::printable(error.what()));
    }
}
