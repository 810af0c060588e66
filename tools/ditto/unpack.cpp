#include "tools/ditto/unpack.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quillmoor/platform/posix/ground/thread_posix.h"
#include "tools/ditto/archive_index.h"
#include "tools/ditto/archive_validation.h"
#include "tools/ditto/destination.h"
#include "tools/ditto/failure.h"
#include "tools/ditto/interruption.h"
#include "tools/ditto/item_writer.h"
#include "tools/ditto/text.h"
#include "tools/ditto/unpack_plan.h"

namespace quillmoor::ditto {
namespace {

using platform::posix::Thread;

constexpr std::size_t kMostArchives = 0xffff;  // Entry::archive has 16 bits

void announce(std::string_view path) {
    std::fputs((printable(path) + '\n').c_str(), stderr);
}

unsigned threadCount() {
    return std::clamp(std::thread::hardware_concurrency(), 2U, 4U);
}

// Writes the files on several threads, each taking the next file when it has finished one. The
// first failure stops all of them.
class FileWriterPool {
  public:
    FileWriterPool(int root, const std::vector<InputFile>& archives,
                   const std::vector<PlannedItem>& files, unsigned umask, bool verbose)
        : root_(root), archives_(archives), files_(files), umask_(umask), verbose_(verbose) {}

    void writeAllFiles() {
        std::vector<Thread> others;
        const auto count = std::min<std::size_t>(threadCount(), files_.size());
        try {
            while (others.size() + 1 < count) others.emplace_back([this] { work(); });
        } catch (const std::exception&) {
            // The threads that could be started, or this one alone, do the work.
        }
        work();
        for (Thread& other : others) other.join();
        if (failure_) std::rethrow_exception(failure_);
    }

  private:
    void work() {
        try {
            FileWriter writer(root_, archives_, umask_, stop_);
            for (std::size_t i = next_++; i < files_.size(); i = next_++) {
                // Thrown inside the try: an interruption stops the other threads like a failure.
                throwIfInterrupted();
                if (stop_) return;
                writer.write(files_[i]);
                if (verbose_) announce(files_[i].path);
            }
        } catch (const Stopped&) {
            // The thread that failed has recorded the failure.
        } catch (...) {
            const std::lock_guard lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
            stop_ = true;
        }
    }

    const int root_;
    const std::vector<InputFile>& archives_;
    const std::vector<PlannedItem>& files_;
    const unsigned umask_;
    const bool verbose_;
    std::atomic<std::size_t> next_{0};
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::exception_ptr failure_;
};

// One unpack, from the archives' directories to the finished destination.
class Unpacking {
  public:
    Unpacking(const Options& options, unsigned umask) : options_(options), umask_(umask) {}

    void run() {
        readArchives();
        // Before a tree is made: a name with a NUL would be sorted to a wrong place in it.
        refuse(validateEntries(list_.entries, limits_));
        // Validated by exact names first, so that a hostile archive is refused before anything is
        // written, and again below if the destination takes "A" and "a" for one name: only there
        // can that be tried.
        std::optional<EntryTree> tree(std::in_place, list_.entries, FoldCase::No);
        refuse(validateTree(*tree, limits_));
        Destination destination(options_.destination, umask_);
        if (destination.foldCase() == FoldCase::Yes) {
            tree.emplace(list_.entries, FoldCase::Yes);
            refuse(validateTree(*tree, limits_));
        }
        const UnpackPlan plan = makePlan(*tree);
        // Early, to spare the work. commit() does not replace anything either.
        destination.requireFree(plan.topNames);
        write(plan, destination);
        // The last point at which an interruption leaves nothing behind.
        throwIfInterrupted();
        destination.commit(plan.topNames);
        finishTopFolders(destination);
        if (plan.leftOut > 0)
            std::fprintf(stderr, "ditto: note: %zu AppleDouble entries (__MACOSX) are left out\n",
                         plan.leftOut);
    }

  private:
    void readArchives() {
        if (options_.sources.size() > kMostArchives) throw Failure("too many archives");
        for (const std::string& source : options_.sources) {
            archives_.emplace_back(source);
            readIndex(archives_.back(), static_cast<std::uint16_t>(archives_.size() - 1), limits_,
                      list_);
        }
    }

    // What is refused for all entries together belongs to no single archive; the first one is
    // named.
    void refuse(const std::optional<Refusal>& refusal) const {
        if (!refusal) return;
        if (refusal->entry != nullptr)
            failAtEntry(archives_[refusal->entry->archive].path(), refusal->entry->name,
                        refusal->reason);
        throw Failure(printable(options_.sources.front()) + ": " + refusal->reason);
    }

    // Links are created after the files, so that no file can be written through one. Folders get
    // their modes and dates last and from the inside out: writing into a folder changes its date,
    // and its mode may forbid it.
    void write(const UnpackPlan& plan, const Destination& destination) {
        FolderCache folders(destination.stage());
        for (const PlannedItem& folder : plan.folders) {
            throwIfInterrupted();
            makeFolder(folders, folder);
            if (options_.verbose) announce(folder.path);
        }
        FileWriterPool(destination.stage(), archives_, plan.files, umask_, options_.verbose)
            .writeAllFiles();
        for (const PlannedItem& link : plan.links) {
            throwIfInterrupted();
            makeLink(folders, link);
            if (options_.verbose) announce(link.path);
        }
        for (auto folder = plan.folders.rbegin(); folder != plan.folders.rend(); ++folder) {
            throwIfInterrupted();
            if (waitsForMove(*folder, destination))
                waiting_.emplace_back(*folder, identityOf(folders.open(folder->path)));
            else
                finishFolder(destination.stage(), *folder, umask_);
        }
    }

    // A folder that its owner may not write to cannot be moved into another folder, as the move
    // changes its "..".
    static bool waitsForMove(const PlannedItem& folder, const Destination& destination) {
        return destination.exists() && folderOf(folder.path).empty() && folder.entry != nullptr &&
               folder.entry->mode >= 0 && (folder.entry->mode & S_IWUSR) == 0;
    }

    // After the move. Others may have replaced such a folder meanwhile, so its identity is
    // compared.
    void finishTopFolders(const Destination& destination) const {
        for (const auto& [folder, identity] : waiting_)
            finishFolder(destination.folder(), folder, umask_, identity);
    }

    const Options& options_;
    const unsigned umask_;
    const Limits limits_{options_.maxSize};
    std::vector<InputFile> archives_;
    EntryList list_;
    std::vector<std::pair<PlannedItem, Identity>> waiting_;  // folders to finish in their place
};

}  // namespace

void unpack(const Options& options, unsigned umask) {
    Unpacking(options, umask).run();
}

}  // namespace quillmoor::ditto
