// The contracts on GNUstep, with fakes of what it lacks. Left out are the tests that ask for
// something that only a Mac has; on a Mac all of them are to pass.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/contract/services/system_run_loop.h"
#include "tests/platform/macos/fakes/cocoa_loop.h"
#include "tests/platform/macos/fakes/fake_security.h"
#include "tests/platform/macos/fakes/fake_workspace.h"

namespace quillmoor::test {
namespace {

constexpr const char* kOtherwiseOnGnuStep[] = {
    // Its standard folders have other names and places.
    "All/LocationsContract.UserFoldersLieInTheHome/Native",
    "All/LocationsContract.EveryUserHasDocumentsADesktopAndMovies/Native",
    "All/LocationsContract.FoldersOfTheMachineHaveFixedPlaces/Native",
    "All/LocationsContract.ReturnsTheUsersFolderBeforeOtherDomains/Native",
    // The C library has no such variable.
    "All/LocationsContract.TheCacheFolderIsWrittenAsFarAsItFits/Native",
    // It takes XML only with a declaration in front, and a text in CDATA is empty.
    "All/PropertyListContract.AByteOrderMarkAndWhiteSpaceMayComeFirst/Native",
    "All/PropertyListContract.CommentsAndCharacterDataAreUnderstood/Native",
    "All/PropertyListContract.OnlyADictionaryOnTopIsOne/Native",
    "All/PropertyListContract.ALinkLeadsToItsFile/Native",
    // Linux cannot open a link itself for reading.
    "RootHooks.ALinkIsGivenToAnotherUserAndNothingElseIs",
    // Launch Services and the workspace, which are fakes here.
    "All/ApplicationsContract.APackageIsAFolderWithOneOfTheseExtensions/Native",
    "All/ApplicationsContract.LinksAndTrailingSlashesChangeNoPackage/Native",
    "All/RegistrationContract.ARegisteredApplicationIsFoundWhereverItIs/Native",
    "All/RegistrationContract.ChangesNothingForAMissingItemOrAnotherThanAnApplication/Native",
};

// Before the test library reads its environment; the program's arguments may name other tests.
__attribute__((constructor(101))) void leaveThemOut() {
    std::string filter = "-";
    for (const char* const test : kOtherwiseOnGnuStep) filter += std::string(test) + ":";
    ::setenv("GTEST_FILTER", filter.c_str(), 1);
}

void serveCocoa(platform::RunLoopMode mode) {
    runCocoa(mode == platform::RunLoopMode::Default ? CocoaMode::Default : CocoaMode::ModalPanel);
}

class Fakes : public testing::Environment {
  public:
    void SetUp() override {
        startCocoa();
        platform::serveOfSystem = serveCocoa;
        security_.decides = true;
        workspace_.usesHome = true;
    }

  private:
    FakeSecurity security_;
    FakeWorkspace workspace_;
};

[[maybe_unused]] const testing::Environment* const kFakes =
    testing::AddGlobalTestEnvironment(new Fakes);

}  // namespace
}  // namespace quillmoor::test
