#include "host/font_warmup.h"

#include <dlfcn.h>

#include <optional>

namespace quillmoor::host {
namespace {

// What is used of the font library. The toolkit is linked with it; where it is not, there is
// nothing to warm up, and no header of it is needed to build the host.
struct FontLibrary {
    struct Config;
    struct Texts;
    int (*init)() = nullptr;
    Config* (*create)() = nullptr;
    void (*destroy)(Config*) = nullptr;
    int (*parseAndLoad)(Config*, const unsigned char* file, int complain) = nullptr;
    Texts* (*cacheFolders)(Config*) = nullptr;
    unsigned char* (*next)(Texts*) = nullptr;
    void (*done)(Texts*) = nullptr;
    int (*setCurrent)(Config*) = nullptr;
};

template <typename Function>
bool find(const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(RTLD_DEFAULT, name));
    return function != nullptr;
}

std::optional<FontLibrary> loadedLibrary() {
    FontLibrary library;
    const bool complete =
        find("FcInit", library.init) && find("FcConfigCreate", library.create) &&
        find("FcConfigDestroy", library.destroy) &&
        find("FcConfigParseAndLoad", library.parseAndLoad) &&
        find("FcConfigGetCacheDirs", library.cacheFolders) && find("FcStrListNext", library.next) &&
        find("FcStrListDone", library.done) && find("FcConfigSetCurrent", library.setCurrent);
    return complete ? std::optional(library) : std::nullopt;
}

bool hasCacheFolders(const FontLibrary& library, FontLibrary::Config* config) {
    FontLibrary::Texts* folders = library.cacheFolders(config);
    const bool any = folders != nullptr && library.next(folders) != nullptr;
    if (folders != nullptr) library.done(folders);
    return any;
}

// The user's configuration and fonts. The library's own start reads every template as well, used or
// not, which takes as long again; whatever is unusual is left to that.
void readFonts(const FontLibrary& library) {
    FontLibrary::Config* config = library.create();
    const bool isSet = config != nullptr && library.parseAndLoad(config, nullptr, 1) != 0 &&
                       hasCacheFolders(library, config) && library.setCurrent(config) != 0;
    if (config != nullptr) library.destroy(config);
    if (!isSet) library.init();
}

}  // namespace

FontWarmup::FontWarmup() {
    if (const auto library = loadedLibrary())
        reader_ = std::jthread([library = *library] { readFonts(library); });
}

void FontWarmup::finish() {
    if (reader_.joinable()) reader_.join();
}

}  // namespace quillmoor::host
