#include "host/options.h"

#include <CLI/CLI.hpp>
#include <map>

namespace quillmoor::host {
namespace {

constexpr const char* kDescription =
    "Shows the steps of an installer: an introduction, the panes of the given bundles in their\n"
    "order, and a summary. It installs nothing itself.";

constexpr const char* kFooter =
    "Steps of a script, one on each line; # begins a comment, ${NAME} is an environment variable:\n"
    "  continue | back                   as the buttons Continue and Go Back\n"
    "  press NAME                        press a button\n"
    "  expect pane TITLE                 the pane with this title is on screen\n"
    "  expect visible | hidden NAME      an interface element is on screen, or is not\n"
    "  expect text NAME TEXT             an interface element has exactly this text\n"
    "  wait MILLISECONDS\n"
    "  wait file | gone PATH [MILLISECONDS]\n"
    "                                    until PATH exists, or no longer exists\n"
    "  run COMMAND [ARGUMENT ...]        at most a minute; it must end with status 0\n"
    "  snapshot NAME                     a picture of the window\n"
    "  note TEXT                         a line for the transcript\n"
    "  quit                              without it the window stays open, if there is a display\n"
    "\n"
    "Exit status: 0; 1 if a script's step failed, a transcript could not be written, or with\n"
    "--strict a bundle could not be loaded; 2 if the command line or the script is wrong.";

void describe(CLI::App& app, Options& options) {
    static const std::map<std::string, AppearanceMode> modes{{"system", AppearanceMode::System},
                                                             {"light", AppearanceMode::Light},
                                                             {"dark", AppearanceMode::Dark}};
    app.add_option("bundles", options.bundles, "Bundles of pane plug-ins")->type_name("BUNDLE");
    app.add_option("--plugins", options.plugins,
                   "A folder of bundles with InstallerSections.plist, whose SectionOrder lists "
                   "the sections")
        ->type_name("FOLDER");
    app.add_option("--product", options.product, "What is being installed")->type_name("NAME");
    app.add_option("--language", options.language,
                   "Language instead of the user's own, for example de or pt-BR")
        ->type_name("LANGUAGE");
    app.add_option("--appearance", options.appearance, "light, dark or system")
        // The check would add its map, with the numbers in it, to the help.
        ->transform(CLI::CheckedTransformer(modes, CLI::ignore_case).description(""))
        ->type_name("APPEARANCE")
        ->option_text("light|dark|system");
    app.add_option("--script", options.script, "Operates the window by the steps in FILE")
        ->type_name("FILE");
    app.add_option("--pictures", options.pictures, "Folder for snapshots")->type_name("FOLDER");
    app.add_option("--transcript", options.transcript, "Records what happens; - is standard output")
        ->type_name("FILE");
    app.add_flag("--strict", options.strict, "Fail when a bundle cannot be loaded");
    app.add_flag("--quit-after-enter", options.quitAfterEnter,
                 "End once the first plug-in's pane has been entered and the window drawn");
    app.set_version_flag("--version", "installer-host " INSTALLER_HOST_VERSION);
}

// What depends on more than one option.
void checkWhole(const Options& options) {
    if (options.bundles.empty() && options.plugins.empty())
        throw CLI::ValidationError("a bundle or --plugins FOLDER is needed");
    if (!options.bundles.empty() && !options.plugins.empty())
        throw CLI::ValidationError("bundles and --plugins FOLDER exclude each other");
}

}  // namespace

ParsedOptions parseOptions(int argc, char** argv) {
    CLI::App app(kDescription, "installer-host");
    app.footer(kFooter);
    Options options;
    try {
        describe(app, options);
        app.parse(argc, argv);
        checkWhole(options);
    } catch (const CLI::ParseError& error) {
        // Help and version arrive here as errors with status 0. The library's own numbers begin at
        // 100, beyond those that the help lists.
        return {std::nullopt, app.exit(error) == 0 ? 0 : 2};
    }
    return {options, 0};
}

}  // namespace quillmoor::host
