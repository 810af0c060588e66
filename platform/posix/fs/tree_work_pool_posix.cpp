#include "quillmoor/platform/posix/fs/tree_work_pool_posix.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <system_error>
#include <thread>
#include <utility>

#include "quillmoor/platform/posix/fs/tree_worker_posix.h"
#include "quillmoor/platform/posix/ground/signals_blocked_posix.h"

namespace quillmoor::platform::posix {
namespace {

// More than the processors of a small machine: a slow disk serves several requests at once.
constexpr std::size_t kFewestThreads = 4;
constexpr std::size_t kMostThreads = 8;
// The soft limit that processes usually have.
constexpr rlim_t kPlentyOfDescriptors = 1024;

// The position of the type bits in a mode.
constexpr unsigned kTypeShift = 12;

std::size_t descriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    return static_cast<std::size_t>(std::min(limit.rlim_cur, kPlentyOfDescriptors));
}

}  // namespace

void EntryBatch::add(const TreeEntry& entry) {
    bytes_ += static_cast<char>((entry.type & S_IFMT) >> kTypeShift);
    bytes_.append(entry.name).push_back('\0');
    ++size_;
}

bool EntryBatch::next(TreeEntry& entry) {
    if (at_ == bytes_.size()) return false;
    entry.type = static_cast<mode_t>(static_cast<unsigned char>(bytes_[at_]) << kTypeShift);
    entry.name = bytes_.data() + at_ + 1;
    at_ = bytes_.find('\0', at_ + 1) + 1;
    return true;
}

TreeLimits treeLimits(std::size_t descriptorsOfLevel) {
    const std::size_t limit = descriptorLimit();
    TreeLimits limits{};
    limits.openLevels = limit < kPlentyOfDescriptors ? 8 : 16;
    const std::size_t wanted =
        std::clamp<std::size_t>(std::thread::hardware_concurrency(), kFewestThreads, kMostThreads);
    // A quarter of the descriptors: the host needs some, and given folders stay open as well.
    const std::size_t affordable = limit / 4 / (limits.openLevels * descriptorsOfLevel);
    limits.threads = std::clamp<std::size_t>(affordable, 1, wanted);
    return limits;
}

TreeWorkPool::TreeWorkPool(std::size_t threads, std::function<void()> help)
    : threads_(threads), help_(std::move(help)), room_(threads > 1) {}

void TreeWorkPool::give(TreeLevel& folder, EntryBatch entries) {
    const std::lock_guard lock(mutex_);
    queue_.push_back({&folder, std::move(entries)});
    // Only after it is queued: without memory for that, takeBack() would wait for it in vain.
    folder.given.fetch_add(1, std::memory_order_relaxed);
    queueChanged();
    if (idle_ > 0)
        given_.notify_one();
    else
        addThread();
}

bool TreeWorkPool::takeBack(TreeLevel& folder, EntryBatch& entries) {
    if (folder.given.load(std::memory_order_acquire) == 0) return false;
    std::unique_lock lock(mutex_);
    while (folder.given.load(std::memory_order_relaxed) > 0) {
        // From the back: other threads take from the front, so what is newest is most likely still
        // there.
        const auto own = std::find_if(queue_.rbegin(), queue_.rend(),
                                      [&](const WorkItem& item) { return item.folder == &folder; });
        if (own != queue_.rend()) {
            entries = std::move(own->entries);
            queue_.erase(std::next(own).base());
            queueChanged();
            folder.given.fetch_sub(1, std::memory_order_relaxed);
            return true;
        }
        // While it waits, this thread does no work: another one may have to start for what is
        // queued.
        ++waiting_;
        if (!queue_.empty() && idle_ == 0) addThread();
        finished_.wait(lock);
        --waiting_;
    }
    return false;
}

bool TreeWorkPool::take(WorkItem& item) {
    std::unique_lock lock(mutex_);
    ++idle_;
    given_.wait(lock, [this] { return ended_ || !queue_.empty(); });
    --idle_;
    if (queue_.empty()) return false;
    // The oldest entries are nearest to the top of the tree and have the most below them.
    item = std::move(queue_.front());
    queue_.pop_front();
    queueChanged();
    return true;
}

void TreeWorkPool::done(TreeLevel& folder) {
    const std::lock_guard lock(mutex_);
    // Released here and acquired by takeBack(), which reads the number without the lock: what this
    // thread has done for the folder must be visible to the thread that leaves it.
    if (folder.given.fetch_sub(1, std::memory_order_release) == 1 && waiting_ > 0)
        finished_.notify_all();
}

void TreeWorkPool::end() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    given_.notify_all();
    for (Thread& helper : helpers_) helper.join();
    helpers_.clear();
}

// Starts one more thread while fewer than `threads_` work. Threads that wait for others do not
// count, so that a chain of waits cannot stop the work, but twice the number is the limit. Called
// under the lock.
void TreeWorkPool::addThread() {
    const std::size_t working = helpers_.size() + 1 - std::min(waiting_, helpers_.size());
    if (!mayStart_ || working >= threads_ || helpers_.size() + 1 >= 2 * threads_) return;
    const SignalsBlocked blocked;
    try {
        helpers_.emplace_back(help_);
    } catch (const std::system_error&) {
        mayStart_ = false;  // the giving thread takes its entries back in the end
    }
}

void TreeWorkPool::queueChanged() {
    room_.store(queue_.size() < 2 * threads_, std::memory_order_relaxed);
}

}  // namespace quillmoor::platform::posix
