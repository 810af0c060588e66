// version-check: the pane's question and its button, for a terminal and for scripts.
#include <csignal>
#include <filesystem>
#include <iostream>
#include <system_error>

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

// What the starting process ignores, as nohup does, stays ignored.
void noteInterruptions() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(number, noteInterruption) == SIG_IGN) std::signal(number, SIG_IGN);
}

int fail(const std::string& reason) {
    std::cerr << "version-check: " << reason << '\n';
    return kFailed;
}

// The installed bundle, else the one of the build folder.
std::string bundleFolder(const Options& options) {
    if (options.bundle) return *options.bundle;
    const OptionalPath program = platform::current().bundles->mainBundle()->executablePath();
    const std::string folder = std::filesystem::path(program.value_or("")).parent_path();
    for (const char* place : {INSTALLED_BUNDLE, "../VersionCheck.bundle"}) {
        std::string bundle = folder + "/" + place;
        if (std::filesystem::is_directory(bundle)) return bundle;
    }
    return folder + "/" INSTALLED_BUNDLE;
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
    if (options.unattended) noteInterruptions();
    UninstallerOutput output(!options.quiet);
    Patience patience;
    patience.timeout = options.timeout;
    patience.isInterrupted = [] { return interruption != 0; };
    const Removal removal =
        options.unattended
            ? runUninstaller(archive, patience, [&](const std::string& line) { output.take(line); })
            : openUninstaller(archive);
    if (options.json)
        std::cout << json(product, options.compare, removal, output.lines());
    else if (!options.quiet || statusOf(removal) != 0)
        (statusOf(removal) == 0 ? std::cout : std::cerr) << sentence(removal);
    std::cout.flush();
    if (interruption != 0) passOnInterruption();
    return statusOf(removal);
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

}  // namespace

int main(int argc, char** argv) {
    try {
        const int status = check(parseOptions({argv + 1, static_cast<std::size_t>(argc - 1)}));
        std::cout.flush();
        return std::cout ? status : fail("standard output cannot be written");
    } catch (const UsageExit& usage) {
        if (!usage.isError()) return (std::cout << usage.what() << std::flush) ? 0 : kFailed;
        std::cerr << "version-check: " << usage.what() << "; see version-check --help\n";
        return kWrongUse;
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
