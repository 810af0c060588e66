// Copying the contents of files.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "quillmoor/base/stop_token.h"
#include "quillmoor/platform/file_tree.h"

namespace quillmoor::platform::posix {

// Where a copy reports its progress, and what may stop it.
struct CopyControl {
    TreeProgress* progress = nullptr;
    StopToken stop{};

    void add(std::uint64_t bytes, std::uint64_t items) const {
        if (progress != nullptr) progress->add(bytes, items);
    }
};

// Copies one file after another; used by one thread at a time.
class FileDataCopier {
  public:
    // Adds bytes to the progress of `control`, not items.
    explicit FileDataCopier(const CopyControl& control) : control_(control) {}

    // Fills the empty file `to` with the contents of `from`, both at offset 0, and keeps holes.
    // `status` is of `from`. Returns 0 or the error number, ECANCELED after a stop.
    int copy(int from, int to, const struct stat& status);

  private:
    int copyRegions(int from, int to, off_t size);
    int copyWhole(int from, int to, off_t size);
    int copyNext(int from, int to, off_t length, off_t& copied);
    template <typename Next>
    int writePieces(int to, off_t& copied, const Next& next);
    void skip(off_t length) const;
    char* buffer();

    const CopyControl& control_;
    std::unique_ptr<char[]> buffer_;
};

}  // namespace quillmoor::platform::posix
