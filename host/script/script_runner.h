// Executes a script in the event loop, one step after the other.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <functional>
#include <string>
#include <vector>

#include "host/ground/transcript.h"
#include "host/script/script.h"
#include "host/script/script_target.h"

namespace quillmoor::host {

class ScriptRunner : public QObject {
  public:
    struct Setting {
        std::string name;      // of the script, for messages
        std::string pictures;  // the folder for pictures; "" if there is none
    };
    enum class Outcome { Quit, AtEnd, Failed };
    using Finished = std::function<void(Outcome)>;

    // Target and transcript must outlive the runner. `finished` is called once; a step that fails
    // ends the script.
    ScriptRunner(std::vector<ScriptStep> steps, Setting setting, ScriptTarget& target,
                 Transcript& transcript, Finished finished);

    // Starts the script as soon as the event loop runs.
    void start();

  private:
    void runNext();
    void scheduleNext();
    // Executes a step. One that is not finished when this returns schedules the next one itself.
    void carryOut(const ScriptStep& step);
    void press(const ScriptStep& step);
    void expectPane(const ScriptStep& step);
    void expectVisible(const ScriptStep& step);
    void expectHidden(const ScriptStep& step);
    void expectText(const ScriptStep& step);
    void takePicture(const ScriptStep& step);
    void waitForFile(const ScriptStep& step, const QElapsedTimer& since);
    void runCommand(const ScriptStep& step);
    void fail(const ScriptStep& step, const std::string& reason);
    QWidget& widgetOf(const ScriptStep& step) const;

    std::vector<ScriptStep> steps_;
    Setting setting_;
    ScriptTarget& target_;
    Transcript& transcript_;
    Finished finished_;
    std::size_t next_ = 0;
};

}  // namespace quillmoor::host
