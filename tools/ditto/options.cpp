#include "tools/ditto/options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <utility>

#include "tools/ditto/text.h"

namespace quillmoor::ditto {
namespace {

// Above all characters, so that none is a short option.
enum LongOption : int { kHelp = 256, kVersion, kKeepParent, kMaxSize, kWithoutEffect };

constexpr std::array<option, 8> kLongOptions = {{
    {"help", no_argument, nullptr, kHelp},
    {"version", no_argument, nullptr, kVersion},
    {"keepParent", no_argument, nullptr, kKeepParent},
    {"max-size", required_argument, nullptr, kMaxSize},
    {"rsrc", no_argument, nullptr, kWithoutEffect},
    {"norsrc", no_argument, nullptr, kWithoutEffect},
    {"sequesterRsrc", no_argument, nullptr, kWithoutEffect},
    {},
}};

// The minus sign: operands are returned between the options, even if POSIXLY_CORRECT is set. The
// colon: getopt prints nothing, and returns a colon where an argument is missing.
constexpr char kShortOptions[] = "-:xckvVh";

// What getopt returns for an operand, owing to the minus sign.
constexpr int kOperand = 1;

// Collects what getopt returns. What excludes what is checked at the end, when everything is known.
class Parser {
  public:
    explicit Parser(std::span<const char* const> arguments) {
        // getopt skips the program's name. It takes pointers to mutable text but only reads it.
        arguments_.push_back(const_cast<char*>("ditto"));
        for (const char* argument : arguments) arguments_.push_back(const_cast<char*>(argument));
        arguments_.push_back(nullptr);
    }

    Options parse() {
        const int count = static_cast<int>(arguments_.size()) - 1;
        ::optind = 0;  // 0, not 1: getopt also forgets where a joined option of the last call was
        for (int found = 0; found >= 0;) {
            found = ::getopt_long(count, arguments_.data(), kShortOptions, kLongOptions.data(),
                                  nullptr);
            if (found >= 0) take(found);
        }
        for (int i = ::optind; i < count; ++i) operands_.emplace_back(argument(i));
        return finished();
    }

  private:
    const char* argument(int index) const { return arguments_[static_cast<std::size_t>(index)]; }

    void take(int found) {
        switch (found) {
            case kOperand:
                operands_.emplace_back(::optarg);
                return;
            case 'x':
                unpack_ = true;
                return;
            case 'c':
                pack_ = true;
                return;
            case 'k':
                zip_ = true;
                return;
            case 'v':
            case 'V':
                options_.verbose = true;
                return;
            case 'h':
            case kHelp:
                help_ = true;
                return;
            case kVersion:
                version_ = true;
                return;
            case kKeepParent:
                options_.keepParent = true;
                return;
            case kMaxSize:
                options_.maxSize = number(::optarg);
                return;
            case kWithoutEffect:  // about resource forks, which are neither packed nor unpacked
                return;
            case ':':
                throw UsageError("--max-size needs a number of bytes");
            default:
                refuse();
        }
    }

    // optopt is 0 for an unknown long option, and its value for one with an argument too many. Then
    // the whole argument is named; of joined short options only the unknown one.
    [[noreturn]] void refuse() const {
        const bool isLong = ::optopt == 0 || ::optopt >= kHelp;
        const char character = static_cast<char>(::optopt);
        throw UsageError("unknown option " + (isLong ? printable(argument(::optind - 1))
                                                     : "-" + printable({&character, 1})));
    }

    // from_chars takes no sign, no space and no prefix.
    static std::uint64_t number(std::string_view text) {
        std::uint64_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || end != text.data() + text.size())
            throw UsageError("--max-size needs a number of bytes, not " + quoted(text));
        return value;
    }

    Options finished() {
        // First, so that an otherwise incomplete command line gets its help.
        if (help_ || version_) {
            options_.action = help_ ? Action::ShowHelp : Action::ShowVersion;
            return std::move(options_);
        }
        if (unpack_ && pack_) throw UsageError("-x and -c exclude each other");
        if (!unpack_ && !pack_) throw UsageError("plain copies are not supported: use -xk or -ck");
        if (!zip_) throw UsageError("only zip archives are supported: add -k");
        if (unpack_ && options_.keepParent) throw UsageError("--keepParent is only for -c");
        checkOperands();
        options_.action = unpack_ ? Action::Unpack : Action::Pack;
        options_.destination = std::move(operands_.back());
        operands_.pop_back();
        options_.sources = std::move(operands_);
        return std::move(options_);
    }

    void checkOperands() const {
        if (operands_.size() < 2)
            throw UsageError(unpack_ ? "an archive and a destination folder are needed"
                                     : "a source and a destination archive are needed");
        if (pack_ && operands_.size() > 2) throw UsageError("only one source can be packed");
        for (const std::string& operand : operands_) {
            if (operand.empty()) throw UsageError("a path is empty");
            if (operand == "-") throw UsageError("standard input and output are not supported");
        }
    }

    std::vector<char*> arguments_;
    Options options_;
    std::vector<std::string> operands_;
    bool unpack_ = false, pack_ = false, zip_ = false;
    bool help_ = false, version_ = false;
};

}  // namespace

Options parseOptions(std::span<const char* const> arguments) {
    return Parser(arguments).parse();
}

std::string_view usage() {
    return R"(Usage: ditto -x -k [OPTION]... ARCHIVE... FOLDER
       ditto -c -k [--keepParent] [OPTION]... SOURCE ARCHIVE

Unpacks zip archives into a folder, or packs a file or a folder into a zip archive. All or nothing:
if the exit status is not 0, nothing that ditto wrote is left.

  -x              unpack; FOLDER and the folders above it are created. Existing items in FOLDER are
                  left unchanged: an archive that has an item of the same name is refused
  -c              pack; an existing ARCHIVE is replaced once the new one is complete
  -k              the archives are zip archives (no other format is supported)
  --keepParent    pack the folder SOURCE itself, not just its contents
  --max-size N    unpack at most N bytes (default: 17179869184, 16 GiB)
  -V, -v          print the name of each item to standard error
  --rsrc, --norsrc, --sequesterRsrc
                  accepted without effect: resource forks are not supported. AppleDouble entries
                  (__MACOSX/…/._name) are left out when unpacking, with a note
  -h, --help      show this text
  --version       show the version

An archive is validated completely before anything is written. It is refused if it has names or
links that lead out of FOLDER, duplicate names, encrypted entries, devices and the like. Packing
warns of links that would be refused. Dates after SOURCE_DATE_EPOCH, an environment variable, become
that date in a packed archive. Plain copies (ditto SOURCE FOLDER) are not supported.
)";
}

}  // namespace quillmoor::ditto
