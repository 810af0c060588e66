#include "host/host_application.h"

#include <QApplication>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

#include "host/ground/display_text.h"
#include "host/ground/file_io.h"
#include "host/ground/host_error.h"
#include "host/ground/transcript.h"
#include "host/installer_controller.h"
#include "host/plugin/host_services.h"
#include "host/private_temporary_folder.h"
#include "host/quit_signals.h"
#include "host/script/script.h"
#include "host/script/script_runner.h"
#include "host/sections/section_plan.h"
#include "host/translations.h"
#include "host/window/appearance.h"
#include "host/window/artwork.h"
#include "host/window/host_style.h"

namespace quillmoor::host {
namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

// An empty variable counts as unset, as for the toolkit.
bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

// A message to people. That it could not be written cannot be reported.
void say(const std::string& text) {
    const std::string line = "installer-host: " + onOneLine(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

// Without a display the window is drawn in memory, unless the user chose another platform plug-in.
enum class Screen { Display, OffScreen };
Screen chooseScreen() {
    // The value may have parameters behind the plug-in's name.
    if (isSet("QT_QPA_PLATFORM"))
        return std::string_view(std::getenv("QT_QPA_PLATFORM")).starts_with("offscreen")
                   ? Screen::OffScreen
                   : Screen::Display;
    if (isSet("DISPLAY") || isSet("WAYLAND_DISPLAY")) return Screen::Display;
    // The application object reads it.
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    say("there is no display; the window is drawn off screen");
    return Screen::OffScreen;
}

// Passes the toolkit's messages on, except those that are normal off screen and those about an
// interface file, for which the host has its own.
void passOnRemarks(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.contains(QLatin1String("propagateSizeHints")) ||
        text.contains(QLatin1String("XDG_RUNTIME_DIR not set")) ||
        text.startsWith(QLatin1String("Designer: ")))
        return;
    say(bytesOf(qFormatLogMessage(type, context, text)));
}

// Calls `function` and puts `subject` in front of its errors.
template <typename Function>
auto about(const std::string& subject, Function function) {
    try {
        return function();
    } catch (const HostError& error) {
        throw HostError(subject + error.what());
    }
}

Transcript openTranscript(const std::string& path) {
    if (path.empty()) return {};
    return about(path + ": ", [&] { return Transcript(path); });
}

std::vector<ScriptStep> readScript(const std::string& path) {
    if (path.empty()) return {};
    const auto script = about(path + ": ", [&] { return readWholeFile(path); });
    return about(path + ":", [&] { return parseScript(script); });
}

InstallerController::Setting settingFor(const Options& options, const QStringList& languages,
                                        Screen screen) {
    InstallerController::Setting setting;
    setting.product = shown(onOneLine(options.product));
    setting.languages = languages;
    setting.window.appearance = options.appearance;
    // A script could not press the question's buttons, and off screen no user could.
    setting.window.confirm = screen == Screen::Display && options.script.empty()
                                 ? InstallerWindow::Confirm::Yes
                                 : InstallerWindow::Confirm::No;
    setting.window.fitScreen = screen == Screen::Display ? InstallerWindow::FitScreen::Yes
                                                         : InstallerWindow::FitScreen::No;
    return setting;
}

std::vector<PlannedSection> planFor(const Options& options) {
    return options.plugins.empty() ? planForBundles(options.bundles)
                                   : planForFolder(options.plugins);
}

// Everything that lives as long as the window.
class Session {
  public:
    Session(const Options& options, const QStringList& languages, Screen screen,
            std::vector<ScriptStep> steps, Transcript& transcript)
        : options_(options),
          screen_(screen),
          controller_(planFor(options), settingFor(options, languages, screen), transcript) {
        if (!options.script.empty())
            runner_ = std::make_unique<ScriptRunner>(
                std::move(steps), ScriptRunner::Setting{options.script, options.pictures},
                controller_, transcript, [this](auto outcome) { scriptFinished(outcome); });
    }

    int run() {
        // The first pane is entered before the window appears, so that a pane that passes itself
        // over is never shown.
        controller_.start();
        InstallerWindow& window = controller_.window();
        if (options_.quitAfterEnter) controller_.continueToPlugin();
        window.onFirstPaint = [this] { painted(); };
        controller_.showWindow();
        if (runner_) runner_->start();
        QApplication::exec();
        const bool failed = scriptFailed_ || (options_.strict && controller_.hasProblems());
        return failed ? kFailed : 0;
    }

  private:
    void painted() {
        InstallerWindow& window = controller_.window();
        if (options_.quitAfterEnter) return window.closeNow();
        // Drawing the icon takes time, which the window's appearance need not wait for.
        if (screen_ == Screen::Display)
            window.setWindowIcon(packagePicture(256, 1, window.palette()));
    }

    void scriptFinished(ScriptRunner::Outcome outcome) {
        scriptFailed_ = outcome == ScriptRunner::Outcome::Failed;
        // At its end the script leaves a window on a display to the user.
        if (outcome != ScriptRunner::Outcome::AtEnd || screen_ == Screen::OffScreen)
            controller_.window().closeNow();
    }

    const Options& options_;
    Screen screen_;
    InstallerController controller_;
    std::unique_ptr<ScriptRunner> runner_;  // destroyed before the controller that it operates
    bool scriptFailed_ = false;
};

int runInToolkit(const Options& options, Screen screen, std::vector<ScriptStep> steps,
                 Transcript& transcript) {
    // Before the application object, which would otherwise load the desktop's style first.
    QApplication::setStyle(new HostStyle);
    // The toolkit keeps references to both, and must not take the host's options for its own.
    int argc = 1;
    std::string name = "installer-host";
    std::array<char*, 2> argv{name.data(), nullptr};
    QApplication application(argc, argv.data());
    QApplication::setFont(applicationFont(QApplication::font()));
    const Languages languages(shown(options.language));
    quitOnSignals();

    HostServices& services = HostServices::shared();
    QObject::connect(&application, &QCoreApplication::aboutToQuit, &application,
                     [&services] { services.terminate(); });
    Session session(options, languages.preferred(), screen, std::move(steps), transcript);
    const int status = session.run();
    // In case aboutToQuit was not emitted. A second call does nothing.
    services.terminate();
    return status;
}

}  // namespace

int runHost(const Options& options) {
    qInstallMessageHandler(passOnRemarks);
    const Screen screen = chooseScreen();
    if (screen == Screen::OffScreen && options.script.empty() && !options.quitAfterEnter) {
        say("an off-screen window needs --script FILE");
        return kWrongUse;
    }
    // Wrong use is reported before the toolkit starts and before any plug-in is loaded.
    std::optional<Transcript> transcript;
    std::vector<ScriptStep> steps;
    try {
        transcript = openTranscript(options.transcript);
        steps = readScript(options.script);
    } catch (const HostError& error) {
        say(error.what());
        return kWrongUse;
    }
    // Before the toolkit starts threads, as it changes the environment. Removed after the session,
    // whose plug-ins may still use it.
    std::optional<PrivateTemporaryFolder> temporary;
    try {
        temporary.emplace();
    } catch (const HostError& error) {
        say(error.what());
        return kFailed;
    }
    const int status = runInToolkit(options, screen, std::move(steps), *transcript);
    if (!transcript->incomplete()) return status;
    say("the transcript " + inQuotes(options.transcript) + " could not be written completely");
    return kFailed;
}

}  // namespace quillmoor::host
