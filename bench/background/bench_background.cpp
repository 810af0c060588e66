// bench_background FOLDER [ROUNDS]: measures work in the background.
//
//   output    1 GiB of a tool's output, handed to a delegate, against a bare loop that reads the
//             same into one buffer; MB a second
//   starts    the duration of the call that starts a tool or a copy, against the millisecond that
//             it may take
//   copies    a copy with progress against the same copy without; a tree of small files
//
// Both sides run in turn. Every run is checked: the number of bytes, the number of copied files.
// Everything is written to a new folder in FOLDER, which is best in memory, and removed at the end.
#include <unistd.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "bench/support/table.h"
#include "bench/support/work_folder.h"
#include "bench/task/bare_writer.h"
#include "quillmoor/files/KXFileManager.h"
#include "quillmoor/platform/main_run_loop.h"
#include "quillmoor/platform/platform.h"
#include "quillmoor/task/KXTaskEx.h"

namespace quillmoor::bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using platform::MainRunLoop;
using platform::RunLoopMode;
using std::chrono::duration;
using std::chrono::steady_clock;

constexpr std::size_t kOutput = std::size_t{1} << 30;
constexpr int kFiles = 20'000;
constexpr int kFilesInFolder = 200;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "bench_background: %s\n", what);
    std::exit(1);
}

double seconds(const std::function<void()>& work) {
    const auto start = steady_clock::now();
    work();
    return duration<double>(steady_clock::now() - start).count();
}

std::string blockCount() {
    return std::to_string(kOutput / kBlockSize);
}

// Counts the bytes that the delegate receives.
class Counter {
  public:
    void add(const Data& data) {
        const std::lock_guard lock(mutex_);
        bytes_ += data.size();
        // An empty piece is the end of the output.
        if (!data.empty()) return;
        ended_ = true;
        changed_.notify_all();
    }
    std::size_t waitForTheEnd() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return ended_; });
        return bytes_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t bytes_ = 0;
    bool ended_ = false;
};

double rateInBackground(std::vector<double>& starts) {
    const auto counter = std::make_shared<Counter>();
    const auto runner = KXTaskEx::create();
    std::size_t bytes = 0;
    const double took = seconds([&] {
        starts.push_back(1e3 * seconds([&] {
                             runner->asyncDataFromTask(
                                 KX_WRITE_BLOCKS, StringList{blockCount()}, counter,
                                 [raw = counter.get()](const Data& data, KXTaskEx&,
                                                       const KXTaskEx::Object&) { raw->add(data); },
                                 nullptr);
                         }));
        bytes = counter->waitForTheEnd();
    });
    if (bytes != kOutput) fail("output is missing");
    return static_cast<double>(bytes) / took / 1e6;
}

double rateOfABareLoop() {
    std::size_t bytes = 0;
    const double took = seconds([&] {
        const BareWriter writer(KX_WRITE_BLOCKS, kOutput);
        static std::array<char, std::size_t{1} << 16> buffer;
        for (ssize_t count = 0;
             (count = ::read(writer.output(), buffer.data(), buffer.size())) > 0;)
            bytes += static_cast<std::size_t>(count);
    });
    if (bytes != kOutput) fail("output is missing");
    return static_cast<double>(bytes) / took / 1e6;
}

void makeTree(const fs::path& tree) {
    const std::string text(4096, 'x');
    for (int i = 0; i < kFiles; ++i) {
        const fs::path folder = tree / std::to_string(i / kFilesInFolder);
        if (i % kFilesInFolder == 0) fs::create_directories(folder);
        std::ofstream(folder / std::to_string(i)) << text;
    }
}

void checkCopy(const fs::path& copy) {
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(copy))
        files += entry.is_regular_file() ? 1 : 0;
    if (files != kFiles) fail("files are missing in the copy");
    fs::remove_all(copy);
}

// Notes the end of a copy, on the main thread.
class Ended : public FileOperationDelegate {
  public:
    bool ended = false;
    bool implements(Notice) const override { return true; }
    using FileOperationDelegate::fileOperationFinished;
    void fileOperationFinished(const FileOperationNotice&,
                               const platform::FileOperationRef&) override {
        ended = true;
    }
};

double copyWithProgress(const fs::path& tree, const fs::path& copy, std::vector<double>& starts) {
    const auto delegate = std::make_shared<Ended>();
    const double took = seconds([&] {
        starts.push_back(1e3 * seconds([&] {
                             if (!KXFileManager::copyFileWithProgress(tree.string(), copy.string(),
                                                                      delegate, nullptr))
                                 fail("the copy did not start");
                         }));
        while (!delegate->ended) MainRunLoop::run(RunLoopMode::Default, steady_clock::now() + 2ms);
    });
    checkCopy(copy);
    return took;
}

// The same engine without the operation, the run loop and the counts.
double copyWithout(const fs::path& tree, const fs::path& copy) {
    const double took = seconds([&] {
        if (!platform::current().fileManager->copyItem(tree.string(), copy.string()))
            fail("the copy failed");
    });
    checkCopy(copy);
    return took;
}

void compareOutput(int rounds) {
    std::vector<double> ours, bare, starts;
    // Round -1 fills the caches and does not count.
    for (int round = -1; round < rounds; ++round) {
        const double rate = rateInBackground(starts);
        const double bareRate = rateOfABareLoop();
        if (round < 0) continue;
        ours.push_back(rate);
        bare.push_back(bareRate);
    }
    printRow("output in the background, 1 GiB", ours, bare, "MB/s", 0.8, Better::Higher);
    printRow("start of a tool in the background", starts, std::vector<double>(starts.size(), 1.0),
             "ms", 1, Better::Lower);
}

void compareCopies(const fs::path& folder, int rounds) {
    const fs::path tree = folder / "tree";
    makeTree(tree);
    std::vector<double> with, without, starts;
    for (int round = -1; round < rounds; ++round) {
        const double ours = copyWithProgress(tree, folder / "with", starts);
        const double plain = copyWithout(tree, folder / "without");
        if (round < 0) continue;
        with.push_back(ours);
        without.push_back(plain);
    }
    printRow("copy with progress, 20,000 files, vs without", with, without, "s", 1.05,
             Better::Lower);
    printRow("start of a copy in the background", starts, std::vector<double>(starts.size(), 1.0),
             "ms", 1, Better::Lower);
}

}  // namespace
}  // namespace quillmoor::bench

int main(int argc, char** argv) {
    using namespace quillmoor::bench;
    if (argc < 2) fail("usage: bench_background FOLDER [ROUNDS]");
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
    try {
        const WorkFolder folder(argv[1]);
        compareOutput(rounds);
        compareCopies(folder.path(), rounds);
    } catch (const std::exception& failure) {
        fail(failure.what());
    }
    return 0;
}
