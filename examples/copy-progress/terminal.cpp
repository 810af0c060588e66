// copy-with-progress SOURCE DESTINATION: copies an item and shows the progress. Interrupted
// (Ctrl-C), it removes what it has copied. The exit status is 0 if the copy is complete.
#include <csignal>
#include <cstdio>
#include <optional>
#include <string>

#include "examples/copy-progress/copy_listener.h"
#include "quillmoor/platform/main_run_loop.h"

namespace {

using namespace std::chrono_literals;
using quillmoor::KXFailure;
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
    // An existing item would not be replaced: no need to begin.
    if (KXFileManager::fileExistsAtPath(destination)) {
        std::fprintf(stderr, "copy-with-progress: %s exists already\n", destination.c_str());
        return 1;
    }
    std::signal(SIGINT, [](int) { interrupted = 1; });

    bool ended = false;
    std::optional<KXFailure> failure;
    const auto listener = std::make_shared<CopyListener>();
    listener->progressed = show;
    listener->finished = [&] {
        ended = true;
        failure = KXFailure::last();
    };
    if (!KXFileManager::copyFileWithProgress(source, destination, listener, nullptr)) return 1;
    // The run loop delivers the notices. It returns often enough to notice the interruption.
    while (!ended) {
        MainRunLoop::run(RunLoopMode::Default, std::chrono::steady_clock::now() + 50ms);
        if (interrupted != 0) listener->cancel();
    }
    // Nothing is left of a copy that failed.
    std::printf("\n%s\n", failure ? failure->description.c_str() : "Copied.");
    return failure ? 1 : 0;
}
