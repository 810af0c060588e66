// ditto packing and unpacking, with each of its calls failing in turn.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <vector>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "tests/faults/fault_loop.h"
#include "tests/support/temp_folder.h"
#include "tests/tools/ditto/run_ditto.h"
#include "tools/ditto/block_deflater.h"
#include "tools/ditto/entry.h"

int dittoMain(int argc, char** argv);

namespace quillmoor::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

// Does not compress.
std::string noise(std::size_t size) {
    std::string text;
    for (unsigned value = 1; text.size() < size; value = value * 1'103'515'245U + 12'345U)
        text += static_cast<char>(value >> 16U);
    return text;
}

void allowRemoval(const std::string& folder) {
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder))
        if (item.is_directory() && !item.is_symlink())
            std::filesystem::permissions(item.path(), std::filesystem::perms::owner_all);
}

// What is packed and unpacked, made once.
class DittoInput {
  public:
    DittoInput() {
        folder_.makeFolder("source/empty");
        folder_.makeLink("source/link", "folder/file");
        const std::string locked = folder_.makeFolder("source/locked");
        std::filesystem::permissions(locked, std::filesystem::perms(0555));
        for (const char* each : {"", "/empty", "/link", "/locked", "/folder/file", "/folder",
                                 "/of two blocks", "/small"})
            setDate(source + each, 1'000'000'000);
        std::filesystem::resize_file(large, ditto::kWholeEntry + 1);
        EXPECT_EQ(runDitto({"-c", "-k", source, wholeArchive}).status, 0);
        EXPECT_EQ(runDitto({"-c", "-k", large, largeArchive}).status, 0);
    }
    ~DittoInput() { allowRemoval(folder_.path()); }

  private:
    TempFolder folder_;

  public:
    std::string source = folder_.makeFolder("source");
    std::string small = folder_.writeFile("source/small", "text");
    std::string inside = folder_.writeFile("source/folder/file", std::string(2000, 'a'));
    std::string blocks = folder_.writeFile("source/of two blocks", noise(ditto::kBlockSize + 1));
    std::string large = folder_.writeFile("large");
    std::string wholeArchive = folder_ / "whole.zip";
    std::string largeArchive = folder_ / "large.zip";
};

std::unique_ptr<DittoInput> input;

class DittoWorld {
  public:
    ~DittoWorld() { allowRemoval(folder_.path()); }

    // Runs the program's own main. Its messages are in errors().
    int run(FaultRun& faults, StringList arguments) {
        arguments.insert(arguments.begin(), "ditto");
        std::vector<char*> pointers;
        for (std::string& argument : arguments) pointers.push_back(argument.data());
        pointers.push_back(nullptr);
        const std::string messages = folder_ / "messages";
        const platform::posix::Descriptor before(::dup(STDERR_FILENO));
        const platform::posix::Descriptor file(
            ::open(messages.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        ::dup2(file.get(), STDERR_FILENO);
        const mode_t mask = ::umask(022);
        int status = -1;
        faults.inject(
            [&] { status = dittoMain(static_cast<int>(arguments.size()), pointers.data()); });
        ::umask(mask);
        ::dup2(before.get(), STDERR_FILENO);
        errors_ = readFile(messages);
        return status;
    }
    const std::string& errors() const { return errors_; }

    bool hasSaid(std::string_view text) const { return errors_.find(text) != std::string::npos; }

    // What ditto makes of an archive without a fault.
    Lines unpacked(const std::string& packed) const {
        EXPECT_EQ(runDitto({"-x", "-k", packed, place + "/unpacked"}).status, 0);
        return linesOf(place + "/unpacked");
    }

    // All that is in the folder in which something is made.
    Lines placeNow() const { return linesOf(place); }

    // After a failure: what existed in the destination still exists, and nothing else, except for
    // items that could not be removed either.
    void expectNothingMade(const FaultRun& run, const Lines& before) const {
        EXPECT_THAT(errors_, HasSubstr("ditto: "));
        expectResidueAlone(run, before, placeNow());
    }

    // Nothing but what is expected, and what could not be removed.
    void expectResidueAlone(const FaultRun& run, const Lines& expected, const Lines& found) const {
        EXPECT_THAT(without(expected, found), IsEmpty());
        Lines more = without(found, expected);
        // Not even moving it back was possible.
        if (hasSaid("couldn’t be taken back")) {
            EXPECT_TRUE(run.isLasting());
            more = without(more, linesOf(input->source));
            eraseLocked(more);
        }
        if (run.isLasting() || hasSaid("is left behind"))
            std::erase_if(more, [](const std::string& line) {
                return line.find(".ditto.") != std::string::npos || line.starts_with(".target.") ||
                       line.starts_with("target|");
            });
        EXPECT_THAT(more, IsEmpty());
    }

    static Lines without(const Lines& lines, const Lines& others) {
        Lines rest;
        std::set_difference(lines.begin(), lines.end(), others.begin(), others.end(),
                            std::back_inserter(rest));
        return rest;
    }
    // Its mode and date are set last.
    static void eraseLocked(Lines& lines) {
        std::erase_if(lines, [](const auto& line) { return line.starts_with("locked|"); });
    }
    // With long contents cut to what a message can show.
    static Lines linesOf(const std::string& folder) {
        constexpr std::size_t kLongest = 100;
        Lines lines = describeTree(folder);
        for (std::string& line : lines)
            if (line.size() > kLongest)
                line = line.substr(0, kLongest) + std::to_string(std::hash<std::string>()(line));
        return lines;
    }

  private:
    TempFolder folder_;
    std::string errors_;

  public:
    std::string place = folder_.makeFolder("place");
    std::string other = folder_.writeFile("place/other", "of another");
    std::string target = place + "/target";
};

std::vector<FaultScenario> packScenarios() {
    return {
        {"PacksATree",
         {},
         [](FaultRun& run) {
             DittoWorld world;
             const Lines before = world.placeNow();
             const int status = world.run(run, {"-c", "-k", input->source, world.target});
             EXPECT_TRUE(status == 0 || run.faulted());
             if (status != 0) return world.expectNothingMade(run, before);
             EXPECT_EQ(world.unpacked(world.target), world.linesOf(input->source));
         }},
        {"ReplacesAnArchive",
         {},
         [](FaultRun& run) {
             DittoWorld world;
             std::filesystem::copy_file(world.other, world.target);
             const Lines before = world.placeNow();
             const int status =
                 world.run(run, {"-ckV", "--keepParent", input->small, world.target});
             EXPECT_TRUE(status == 0 || run.faulted());
             if (status != 0) return world.expectNothingMade(run, before);
             EXPECT_THAT(world.unpacked(world.target), ElementsAre(EndsWith("|text")));
         }},
    };
}

std::vector<FaultScenario> unpackScenarios() {
    return {
        {"UnpacksIntoAFreePlace",
         {},
         [](FaultRun& run) {
             DittoWorld world;
             const Lines before = world.placeNow();
             std::filesystem::current_path(world.place);
             const int status = world.run(run, {"-xk", input->wholeArchive, "target/below"});
             EXPECT_TRUE(status == 0 || run.faulted());
             if (status != 0) return world.expectNothingMade(run, before);
             EXPECT_EQ(world.linesOf("target/below"), world.linesOf(input->source));
             EXPECT_EQ(std::distance(std::filesystem::directory_iterator("target"), {}), 1);
         }},
        {"UnpacksALargeFile",
         {},
         [](FaultRun& run) {
             DittoWorld world;
             const Lines before = world.placeNow();
             const int status = world.run(run, {"-xk", input->largeArchive, world.place});
             EXPECT_TRUE(status == 0 || run.faulted());
             if (status != 0) return world.expectNothingMade(run, before);
             EXPECT_TRUE(readFile(world.place + "/large") == readFile(input->large));
         }},
        {"UnpacksIntoAnExistingFolder",
         {},
         [](FaultRun& run) {
             DittoWorld world;
             const Lines before = world.placeNow();
             const int status = world.run(run, {"-xkV", input->wholeArchive, world.place});
             EXPECT_TRUE(status == 0 || run.faulted());
             const bool hasArrived =
                 somethingAt(world.place + "/small") && somethingAt(world.place + "/empty");
             if (status != 0 && !hasArrived) return world.expectNothingMade(run, before);
             Lines whole = world.linesOf(input->source);
             whole.insert(whole.end(), before.begin(), before.end());
             std::sort(whole.begin(), whole.end());
             Lines found = world.placeNow();
             // A folder that may not be written gets its mode last, when it is in place.
             if (status != 0) {
                 EXPECT_TRUE(world.hasSaid("locked” couldn’t be ") || world.hasSaid("bad_alloc"))
                     << world.errors();
                 DittoWorld::eraseLocked(whole);
                 DittoWorld::eraseLocked(found);
             }
             world.expectResidueAlone(run, whole, found);
         }},
    };
}

std::vector<FaultScenario> dittoScenarios() {
    std::vector<FaultScenario> all;
    for (const auto& part : {packScenarios, unpackScenarios})
        for (FaultScenario& scenario : part()) all.push_back(std::move(scenario));
    return all;
}

int injectedInAll = 0;

class DittoFaults : public testing::TestWithParam<FaultScenario> {
  protected:
    static void SetUpTestSuite() { input = std::make_unique<DittoInput>(); }
    static void TearDownTestSuite() {
        input.reset();
        std::cout << "[   FAULTS ] " << injectedInAll << " injected in all" << std::endl;
    }
};

TEST_P(DittoFaults, LeaveNothingHalfMade) {
    injectedInAll += failEachCall(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Of, DittoFaults, testing::ValuesIn(dittoScenarios()),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace quillmoor::test
