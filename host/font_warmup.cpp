#include "host/font_warmup.h"

#include <dlfcn.h>

namespace quillmoor::host {

// The toolkit is linked with the font library; where it is not, there is nothing to warm up.
FontWarmup::FontWarmup() {
    const auto read = reinterpret_cast<int (*)()>(::dlsym(RTLD_DEFAULT, "FcInit"));
    if (read != nullptr) reader_ = std::jthread([read] { read(); });
}

void FontWarmup::finish() {
    if (reader_.joinable()) reader_.join();
}

}  // namespace quillmoor::host
