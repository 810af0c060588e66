#include "tools/version-check/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <system_error>

#include "tools/command/printable.h"
#include "tools/command/suggestion.h"
#include "tools/version-check/version_number.h"

namespace quillmoor::version_check {
namespace {

constexpr char kFooter[] = R"(Exit status:
  0  Tallyframe is not installed, or was removed, or its uninstaller was opened
  1  a failure, which is printed
  2  wrong use
  3  installed, older than VERSION
  4  installed, the same as VERSION
  5  installed, newer than VERSION
  6  installed, without a VERSION, or its version is unknown
  7  the uninstaller has ended, and something is left
  8  the uninstaller was ended by the time-out)";

// Far more than an uninstaller needs, and within the range of every clock.
constexpr long kLongestTimeout = 30L * 24 * 60 * 60;

std::string checkedVersion(const std::string& text) {
    return isVersionNumber(text) ? "" : command::quoted(text) + " is not a version number";
}

// Decimal digits only: the library would take 010 for 8. 0 for any other text.
long seconds(const std::string& text) {
    long number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? number : 0;
}

// Not the library's own checks and dependencies of options, which it also writes into the help.
void demand(bool condition, const char* rule) {
    if (!condition) throw UsageExit(rule, true);
}

struct Parser {
    Options options;
    std::string compare;
    std::string bundle;
    std::string timeout = "600";
    CLI::App app{"Says whether Tallyframe is on this computer, and removes it if asked to.",
                 "version-check"};
    CLI::Option* timeoutOption = nullptr;
    CLI::Option* bundleOption = nullptr;

    Parser() {
        app.footer(kFooter);
        app.set_help_flag("-h,--help", "Print this help");
        app.set_version_flag("--version", "version-check " KX_VERSION, "Print the version");
        app.add_option("--compare", compare, "Compare the installed version with this one")
            ->type_name("VERSION")
            ->check(checkedVersion);
        app.add_flag("--uninstall", options.uninstall, "Open the product's uninstaller");
        app.add_flag("--unattended", options.unattended,
                     "With --uninstall: ask nothing, and wait until the uninstaller has ended");
        timeoutOption = app.add_option("--timeout", timeout,
                                       "With --unattended: how long to wait; else 600 seconds")
                            ->type_name("SECONDS");
        bundleOption =
            app.add_option("--bundle", bundle,
                           "With --uninstall: the VersionCheck.bundle that has the uninstaller; "
                           "else the installed one")
                ->type_name("FOLDER");
        app.add_flag("--json", options.json, "Print one JSON object");
        app.add_flag("-q,--quiet", options.quiet, "Print nothing but failures");
    }

    Options finished() {
        demand(options.uninstall || !options.unattended, "--unattended needs --uninstall");
        demand(options.unattended || timeoutOption->empty(), "--timeout needs --unattended");
        const long longest = seconds(timeout);
        demand(longest >= 1 && longest <= kLongestTimeout,
               "--timeout needs a number of seconds from 1 to 2592000");
        demand(options.uninstall || bundleOption->empty(), "--bundle needs --uninstall");
        demand(bundleOption->empty() || !bundle.empty(), "--bundle needs a folder");
        demand(!options.json || !options.quiet, "--json and --quiet exclude each other");
        if (!compare.empty()) options.compare = compare;
        if (!bundle.empty()) options.bundle = bundle;
        options.timeout = std::chrono::seconds(longest);
        return options;
    }

    std::string unknown(const std::string& word) const {
        std::vector<std::string> names{"--help"};
        for (const CLI::Option* option : app.get_options())
            for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
        const std::string meant = command::nearest(word, names);
        return "unknown argument " + command::quoted(word) +
               (meant.empty() ? "" : "; did you mean " + meant + "?");
    }
};

}  // namespace

Options parseOptions(std::span<const char* const> arguments) {
    Parser parser;
    // CLI11 takes the arguments from the back.
    std::vector<std::string> words(arguments.rbegin(), arguments.rend());
    try {
        parser.app.parse(words);
    } catch (const CLI::CallForHelp&) {
        throw UsageExit(parser.app.help(), false);
    } catch (const CLI::CallForVersion& version) {
        throw UsageExit(std::string(version.what()) + "\n", false);
    } catch (const CLI::ExtrasError&) {
        throw UsageExit(parser.unknown(parser.app.remaining().front()), true);
    } catch (const CLI::ParseError& error) {
        // It may quote what was given.
        throw UsageExit(command::printable(error.what()), true);
    }
    return parser.finished();
}

}  // namespace quillmoor::version_check
