// copy-with-progress SOURCE DESTINATION: copies an item and shows the progress. Interrupted
// (Ctrl-C), it removes what it has copied. The exit status is 0 if the copy is complete.
#include <csignal>
#include <cstdio>
#include <string>

#include "examples/copy-progress/copy_listener.h"
#include "quillmoor/platform/main_run_loop.h"

namespace {

using namespace std::chrono_literals;
using quillmoor::KXFileManager;
using quillmoor::copy_progress::CopyListener;
using quillmoor::copy_progress::description;
using quillmoor::copy_progress::Progress;
using quillmoor::platform::MainRunLoop;
using quillmoor::platform::RunLoopMode;

// Of the bar, in characters.
constexpr int kWidth = 40;

// All that a signal handler may touch. The main loop cancels the copy.
volatile std::sig_atomic_t interrupted = 0;

void show(const Progress& progress) {
    const auto filled = static_cast<std::size_t>(progress.done * kWidth);
    const std::string bar = std::string(filled, '#') + std::string(kWidth - filled, '.');
    // The spaces at the end cover the rest of a longer line before it.
    std::printf("\r[%s] %3.0f %%  %s   ", bar.c_str(), progress.done * 100,
                description(progress).c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: copy-with-progress SOURCE DESTINATION\n", stderr);
        return 2;
    }
    const std::string source = argv[1];
    const std::string destination = argv[2];
    // An existing item is not replaced, and would be taken for the finished copy below.
    if (KXFileManager::fileExistsAtPath(destination)) {
        std::fprintf(stderr, "copy-with-progress: %s exists already\n", destination.c_str());
        return 1;
    }
    std::signal(SIGINT, [](int) { interrupted = 1; });

    bool ended = false;
    const auto listener = std::make_shared<CopyListener>();
    listener->progressed = show;
    listener->finished = [&] { ended = true; };
    if (!KXFileManager::copyFileWithProgress(source, destination, listener, nullptr)) return 1;
    // The run loop delivers the notices. It returns often enough to notice the interruption.
    while (!ended) {
        MainRunLoop::run(RunLoopMode::Default, std::chrono::steady_clock::now() + 50ms);
        if (interrupted != 0) listener->cancel();
    }
    // The notice of the end does not report success, but a copy that fails leaves no destination.
    const bool whole = KXFileManager::fileExistsAtPath(destination);
    std::printf("\n%s\n", whole ? "Copied." : "Not copied; nothing is left of it.");
    return whole ? 0 : 1;
}
