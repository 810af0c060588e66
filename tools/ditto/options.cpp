// Parsed by hand: the parser library takes a path in square brackets for a list.
#include "tools/ditto/options.h"

#include <charconv>
#include <utility>

#include "tools/ditto/text.h"

namespace quillmoor::ditto {
namespace {

class Parser {
  public:
    explicit Parser(std::span<const char* const> arguments) : rest_(arguments) {}

    Options parse() {
        while (!rest_.empty()) {
            const std::string_view argument = next();
            if (onlyPaths_ || argument.size() < 2 || argument.front() != '-') {
                operands_.emplace_back(argument);
            } else if (argument == "--") {
                onlyPaths_ = true;
            } else if (argument.starts_with("--")) {
                longOption(argument.substr(2));
            } else {
                for (const char c : argument.substr(1)) shortOption(c);
            }
        }
        return finished();
    }

  private:
    std::string_view next() {
        const std::string_view argument = rest_.front();
        rest_ = rest_.subspan(1);
        return argument;
    }

    void shortOption(char c) {
        switch (c) {
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
                help_ = true;
                return;
            default:
                throw UsageError("unknown option -" + printable({&c, 1}));
        }
    }

    void longOption(std::string_view name) {
        if (name == "keepParent") {
            options_.keepParent = true;
        } else if (name == "help") {
            help_ = true;
        } else if (name == "version") {
            version_ = true;
        } else if (name == "max-size") {
            if (rest_.empty()) throw UsageError("--max-size needs a number of bytes");
            options_.maxSize = number(next());
        } else if (name.starts_with("max-size=")) {
            options_.maxSize = number(name.substr(name.find('=') + 1));
        } else if (name != "rsrc" && name != "norsrc" && name != "sequesterRsrc") {
            throw UsageError("unknown option --" + printable(name));
        }
    }

    static std::uint64_t number(std::string_view text) {
        std::uint64_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc() || end != text.data() + text.size())
            throw UsageError("--max-size needs a number of bytes, not " + quoted(text));
        return value;
    }

    Options finished() {
        if (help_ || version_) {
            options_.action = help_ ? Action::ShowHelp : Action::ShowVersion;
            return std::move(options_);
        }
        if (unpack_ && pack_) throw UsageError("-x and -c exclude each other");
        if (!unpack_ && !pack_) throw UsageError("plain copies are not offered: give -xk or -ck");
        if (!zip_) throw UsageError("only zip archives are known: add -k");
        if (unpack_ && options_.keepParent) throw UsageError("--keepParent goes with -c");
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

    std::span<const char* const> rest_;
    Options options_;
    std::vector<std::string> operands_;
    bool onlyPaths_ = false, unpack_ = false, pack_ = false, zip_ = false;
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
whenever the exit status is not 0, nothing that ditto wrote is left.

  -x              unpack; FOLDER and the folders above it are made. What stands in FOLDER already
                  stays: an archive that holds one of its names is refused
  -c              pack; an existing ARCHIVE is replaced once the new one is complete
  -k              the archives are zip archives (no other kind is known)
  --keepParent    pack the folder SOURCE itself, not just its contents
  --max-size N    unpack at most N bytes; without it 16 GiB (17179869184)
  -V, -v          name each item on standard error
  --rsrc, --norsrc, --sequesterRsrc
                  accepted without effect: there are no resource forks here. AppleDouble entries
                  (__MACOSX/…/._name) are left out when unpacking, with a note
  -h, --help      show this text
  --version       show the version

Archives are judged whole before anything is written: names and links that lead out of FOLDER,
names that stand twice, encrypted entries, devices and the like refuse the archive. Packing warns of
links that would be refused. SOURCE_DATE_EPOCH in the environment is the latest date that an archive
gets. Plain copies (ditto SOURCE FOLDER) are not offered.
)";
}

}  // namespace quillmoor::ditto
