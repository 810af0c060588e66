#include "objc/secret.h"

#include <vector>

#include "objc/bridge.h"

namespace quillmoor::objc {
namespace {

// Bytes in UTF-8 for a unit of UTF-16, at most.
constexpr std::size_t kMostBytes = 3;

// Overwrites the elements of a string or a vector when it is destroyed.
template <typename Container>
class Erasure {
  public:
    explicit Erasure(Container& elements) : elements_(elements) {}
    ~Erasure() {
        // volatile: memory that is about to be released would not be written.
        volatile auto* const first = elements_.data();
        for (std::size_t i = 0; i < elements_.size(); ++i) first[i] = 0;
    }
    Erasure(const Erasure&) = delete;
    Erasure& operator=(const Erasure&) = delete;

  private:
    Container& elements_;
};

}  // namespace

Secret::Secret(NSString* text) {
    if (text == nil) return;
    std::vector<unichar> units([text length]);
    const Erasure erased(units);
    text_.emplace().reserve(kMostBytes * units.size());
    [text getCharacters:units.data() range:NSMakeRange(0, units.size())];
    appendText(*text_, units);
}

Secret::~Secret() {
    if (text_) const Erasure erased(*text_);
}

}  // namespace quillmoor::objc
