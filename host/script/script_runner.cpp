#include "host/script/script_runner.h"

#include <QAbstractButton>
#include <QBuffer>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QTimer>
#include <filesystem>

#include "host/ground/display_text.h"
#include "host/ground/file_io.h"
#include "host/ground/host_error.h"

namespace quillmoor::host {
namespace {

using Kind = ScriptStep::Kind;

constexpr int kFilePollMilliseconds = 20;
constexpr int kLongestCommandMilliseconds = 60'000;

// The text as people see it: without the marks of mnemonics, where "&&" is a plain "&".
QString withoutMnemonic(QString text) {
    for (qsizetype i = text.indexOf('&'); i >= 0; i = text.indexOf('&', i + 1)) text.remove(i, 1);
    return text;
}

QString textOf(const QWidget& widget) {
    if (const auto* label = qobject_cast<const QLabel*>(&widget))
        return withoutBreaks(label->text());
    if (const auto* line = qobject_cast<const QLineEdit*>(&widget)) return line->text();
    if (const auto* button = qobject_cast<const QAbstractButton*>(&widget))
        return withoutMnemonic(button->text());
    throw HostError(inQuotes(bytesOf(widget.objectName())) + " shows no text");
}

// Including dangling links.
bool somethingAt(const std::string& path) {
    std::error_code error;
    return std::filesystem::symlink_status(path, error).type() !=
           std::filesystem::file_type::not_found;
}

}  // namespace

ScriptRunner::ScriptRunner(std::vector<ScriptStep> steps, Setting setting, ScriptTarget& target,
                           Transcript& transcript, Finished finished)
    : steps_(std::move(steps)),
      setting_(std::move(setting)),
      target_(target),
      transcript_(transcript),
      finished_(std::move(finished)) {}

void ScriptRunner::start() {
    scheduleNext();
}

// Through the event loop, so that the effect of a step is drawn before the next one.
void ScriptRunner::scheduleNext() {
    QTimer::singleShot(0, this, [this] { runNext(); });
}

void ScriptRunner::runNext() {
    if (next_ == steps_.size()) return finished_(Outcome::AtEnd);
    const ScriptStep& step = steps_[next_++];
    try {
        carryOut(step);
    } catch (const HostError& error) {
        fail(step, error.what());
    }
}

// Ends the script: nothing is scheduled after it.
void ScriptRunner::fail(const ScriptStep& step, const std::string& reason) {
    transcript_.problem(setting_.name + ":" + std::to_string(step.line) + ": " + reason);
    finished_(Outcome::Failed);
}

void ScriptRunner::carryOut(const ScriptStep& step) {
    switch (step.kind) {
        case Kind::Continue:
            // Recorded before it is done, so that what it causes follows it.
            transcript_.write("continue", inQuotes(bytesOf(target_.shownTitle())));
            target_.userContinues();
            break;
        case Kind::Back:
            transcript_.write("back", inQuotes(bytesOf(target_.shownTitle())));
            target_.userGoesBack();
            break;
        case Kind::Press:
            press(step);
            break;
        case Kind::ExpectPane:
            expectPane(step);
            break;
        case Kind::ExpectVisible:
            expectVisible(step);
            break;
        case Kind::ExpectHidden:
            expectHidden(step);
            break;
        case Kind::ExpectText:
            expectText(step);
            break;
        case Kind::Snapshot:
            takePicture(step);
            break;
        case Kind::Note:
            transcript_.write("note", step.text);
            break;
        case Kind::Wait:
            return QTimer::singleShot(step.time, this, [this] { runNext(); });
        case Kind::WaitForFile:
        case Kind::WaitForGone: {
            QElapsedTimer since;
            since.start();
            return waitForFile(step, since);
        }
        case Kind::Run:
            return runCommand(step);
        case Kind::Quit:
            return finished_(Outcome::Quit);
    }
    scheduleNext();
}

QWidget& ScriptRunner::widgetOf(const ScriptStep& step) const {
    QWidget* widget = target_.widgetNamed(shown(step.object));
    if (widget == nullptr)
        throw HostError("there is no interface element " + inQuotes(step.object));
    return *widget;
}

// As a user could: click() also presses a button that is not on screen.
void ScriptRunner::press(const ScriptStep& step) {
    auto* button = qobject_cast<QAbstractButton*>(&widgetOf(step));
    if (button == nullptr) throw HostError(inQuotes(step.object) + " is not a button");
    if (!button->isVisible()) throw HostError(inQuotes(step.object) + " is not on screen");
    if (!button->isEnabled()) throw HostError(inQuotes(step.object) + " cannot be pressed now");
    transcript_.write("pressed", step.object);
    button->click();
}

void ScriptRunner::expectPane(const ScriptStep& step) {
    const std::string title = bytesOf(target_.shownTitle());
    if (title != step.text)
        throw HostError("expected the pane " + inQuotes(step.text) + ", but " + inQuotes(title) +
                        " is on screen");
}

void ScriptRunner::expectVisible(const ScriptStep& step) {
    if (!widgetOf(step).isVisible())
        throw HostError("expected to see " + inQuotes(step.object) + ", but it is hidden");
}

void ScriptRunner::expectHidden(const ScriptStep& step) {
    if (widgetOf(step).isVisible())
        throw HostError("expected " + inQuotes(step.object) + " to be hidden, but it can be seen");
}

void ScriptRunner::expectText(const ScriptStep& step) {
    const std::string text = bytesOf(textOf(widgetOf(step)));
    if (text != step.text)
        throw HostError("expected " + inQuotes(step.object) + " to read " + inQuotes(step.text) +
                        ", but it reads " + inQuotes(text));
}

void ScriptRunner::takePicture(const ScriptStep& step) {
    if (setting_.pictures.empty()) throw HostError("a picture needs the option --pictures");
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    target_.picture().save(&buffer, "PNG");
    const std::string path = setting_.pictures + "/" + step.text + ".png";
    std::error_code error;
    // A folder that cannot be created is reported by the file that cannot be written.
    std::filesystem::create_directories(setting_.pictures, error);
    try {
        writeWholeFile(path, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
    } catch (const HostError& reason) {
        throw HostError("the picture " + inQuotes(path) + " cannot be written: " + reason.what());
    }
    transcript_.write("picture", path);
}

// The time is measured from the first look, so that a busy event loop does not extend the wait.
void ScriptRunner::waitForFile(const ScriptStep& step, const QElapsedTimer& since) {
    const std::string& path = step.words[0];
    const bool awaited = step.kind == Kind::WaitForFile;
    if (somethingAt(path) == awaited) return scheduleNext();
    if (since.hasExpired(step.time.count()))
        return fail(step, inQuotes(path) + (awaited ? " did not appear" : " still exists"));
    // Polled: to be notified, the folder would have to exist already. The steps do not change while
    // the script runs, so that the reference stays valid.
    QTimer::singleShot(kFilePollMilliseconds, this,
                       [this, &step, since] { waitForFile(step, since); });
}

void ScriptRunner::runCommand(const ScriptStep& step) {
    QStringList arguments;
    for (const std::string& word : step.words) arguments.append(shown(word));
    const QString program = arguments.takeFirst();
    // The command must not read from the host's terminal, nor write into a transcript on standard
    // output.
    auto* process = new QProcess(this);
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->setStandardInputFile(QProcess::nullDevice());
    process->setStandardOutputFile(QProcess::nullDevice());
    // Exactly one of the two ends the step: a process that did not start emits no finished().
    connect(process, &QProcess::errorOccurred, this,
            [=, this, &step](QProcess::ProcessError error) {
                // A crash is followed by finished().
                if (error == QProcess::FailedToStart)
                    fail(step, inQuotes(step.words[0]) + ": " + bytesOf(process->errorString()));
            });
    connect(process, &QProcess::finished, this,
            [=, this, &step](int status, QProcess::ExitStatus how) {
                transcript_.write("ran", step.words[0] + " with status " + std::to_string(status));
                if (how == QProcess::NormalExit && status == 0) return scheduleNext();
                fail(step, inQuotes(step.words[0]) +
                               (how == QProcess::NormalExit ? " ended with status "
                                                            : " was ended by signal ") +
                               std::to_string(status));
            });
    // For a command that never ends. finished() then reports the signal.
    QTimer::singleShot(kLongestCommandMilliseconds, process, [process] { process->kill(); });
    process->start(program, arguments);
}

}  // namespace quillmoor::host
