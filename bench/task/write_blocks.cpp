// write_blocks N: writes N blocks to standard output, one write each.
#include <unistd.h>

#include <cstdlib>
#include <memory>

#include "bench/task/blocks.h"

int main(int argc, char** argv) {
    using namespace quillmoor::bench;
    const auto block = std::make_unique<Block>();
    fillBlock(*block);
    const std::uint64_t count = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 0;
    for (std::uint64_t number = 0; number < count; ++number) {
        numberBlock(*block, number);
        const char* bytes = reinterpret_cast<const char*>(block->data());
        for (std::size_t done = 0; done < kBlockSize;) {
            // A pipe may take a part only.
            const ssize_t written = ::write(STDOUT_FILENO, bytes + done, kBlockSize - done);
            if (written <= 0) return 1;
            done += static_cast<std::size_t>(written);
        }
    }
    return 0;
}
