// Runs an operation again and again, each time with another of its calls failing.
#pragma once

#include <functional>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "quillmoor/base/types.h"
#include "tests/faults/fault_injection.h"

namespace quillmoor::test {

// One run of a scenario, in its own process.
class FaultRun {
  public:
    explicit FaultRun(const std::optional<Fault>& fault) : fault_(fault) {}

    // Runs the operation with the fault. Whatever it throws is kept; see Throws.
    void inject(const std::function<void()>& operation);

    // The operation met the fault, and need not have succeeded.
    bool faulted() const { return happened_; }
    // Nothing works any more after the fault, so that nothing can be tidied up either.
    bool isLasting() const { return fault_ && fault_->lasting == Lasting::FromThenOn; }
    bool threw() const { return threw_; }

  private:
    std::optional<Fault> fault_;
    bool happened_ = false;
    bool threw_ = false;
};

// Arguments that the caller has made before.
const OptionalString& given(std::string_view text);
const OptionalArguments& given(std::initializer_list<std::string_view> texts);

// What the operation's header lets leave it.
enum class Throws {
    Nothing,
    Exceptions,  // platform::Exception
    AndMemory    // std::bad_alloc as well
};

struct FaultScenario {
    std::string name;  // letters and digits
    // "KXFileManager removeFile:shouldAuth:" or "statusCallback": what runs inside inject().
    StringList operations;
    // Sets up, injects, checks.
    std::function<void(FaultRun& run)> body;
    Throws throws = Throws::Nothing;
};

inline void PrintTo(const FaultScenario& scenario, std::ostream* out) {
    *out << scenario.name;
}

// First without a fault, then with each. Fails the test on a broken expectation, a crash, a hang,
// and a descriptor, thread or child that a run without a fault does not leave. Returns the number
// of faults injected. With KX_FAULT="EIO once, call 12" that one alone is run.
int failEachCall(const FaultScenario& scenario);

// Everything in the loop.
const std::vector<FaultScenario>& faultScenarios();

// By class.
std::vector<FaultScenario> fileQueryScenarios();
std::vector<FaultScenario> fileChangeScenarios();
std::vector<FaultScenario> fileToolScenarios();
std::vector<FaultScenario> pathScenarios();
std::vector<FaultScenario> authorizationScenarios();
std::vector<FaultScenario> helperScenarios();  // fewer for an ordinary user
std::vector<FaultScenario> paneScenarios();
std::vector<FaultScenario> taskScenarios();
std::vector<FaultScenario> logScenarios();

}  // namespace quillmoor::test
