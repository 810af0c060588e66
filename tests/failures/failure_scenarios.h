// One failure of each public operation that can fail, and what is recorded for it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "quillmoor/base/failure.h"
#include "quillmoor/platform/exception.h"
#include "tests/files/files_fixture.h"

namespace quillmoor::test {

// A computer in which nothing can be changed: the file system refuses, and the user dismisses the
// dialog that asks for administrator rights.
class RefusingWorld : public FilesTest {
  public:
    RefusingWorld();
    ~RefusingWorld() override;
    void TestBody() override {}

    std::string path(const std::string& name) const { return folder_ / name; }
    // What an operation has last tried to move.
    std::string moved() const { return manager_.moved.back().front(); }
    // From now on no thread can be started.
    void refuseThreads() { platform_->mainThread = &threads_; }
    std::string file = folder_.writeFile("in/file", "contents");
    std::string folder = folder_ / "in";
    std::string missing = folder_ / "missing";

  private:
    class Flags : public ForwardingAttributes {
      public:
        Outcome setImmutable(const std::string&, bool) override { return FilesManager::refusal(); }
    };
    class Threads : public ForwardingMainThread {
      public:
        void detachNewThread(std::function<void()>) override {
            throw platform::Exception("Name", "no thread");
        }
    };
    // A tool that exists everywhere; it is not run.
    class Tools : public ForwardingToolPaths {
      public:
        std::string toolPath(const std::string&) override { return "/bin/ls"; }
    };
    Flags flags_;
    Tools tools_;
    Threads threads_;
};

struct FailureScenario {
    std::string operation;  // as in publicOperations()
    std::function<void(RefusingWorld&)> call;
    KXFailure::Reason reason;
    std::function<OptionalPath(RefusingWorld&)> path;
    KXFailure::Authorization authorization = KXFailure::Authorization::NotTried;
    bool isHalfDone = false;
};

std::vector<FailureScenario> fileFailures();
std::vector<FailureScenario> authorizationFailures();
std::vector<FailureScenario> taskFailures();

// The paths that most scenarios concern.
inline OptionalPath theFile(RefusingWorld& world) {
    return world.file;
}
inline OptionalPath theMissing(RefusingWorld& world) {
    return world.missing;
}
inline OptionalPath noPath(RefusingWorld&) {
    return std::nullopt;
}

}  // namespace quillmoor::test
