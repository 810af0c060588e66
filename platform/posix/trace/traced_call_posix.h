// An entry of a table of system calls that writes a line about each call, made from a description
// of its arguments.
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <utility>

#include "quillmoor/platform/posix/trace/trace_areas_posix.h"
#include "quillmoor/platform/posix/trace/trace_line_posix.h"

namespace quillmoor::platform::posix {

// The table that the traced calls of a Table go on to; set before they are put in force.
template <typename Table>
inline const Table* callsBelow = nullptr;

// How arguments are shown. Each of these takes `kCount` of them.
template <typename Wide, void (TraceText::*kAdd)(Wide)>
struct Integer {
    static constexpr std::size_t kCount = 1;
    template <typename Argument>
    static void put(TraceLine& line, Argument argument) {
        line.beginArgument();
        (line.*kAdd)(static_cast<Wide>(argument));
    }
};
using Number = Integer<std::int64_t, &TraceText::addNumber>;
using Flags = Integer<std::uint64_t, &TraceText::addHex>;
using Mode = Integer<std::uint64_t, &TraceText::addOctal>;
struct String {
    static constexpr std::size_t kCount = 1;
    static void put(TraceLine& line, const char* text) {
        line.beginArgument();
        line.addQuoted(text);
    }
};
// A folder's descriptor and a name in it.
struct Item {
    static constexpr std::size_t kCount = 2;
    static void put(TraceLine& line, int folder, const char* name) {
        String::put(line, name);
        if (folder == AT_FDCWD) return;
        line.add(" in ");
        line.addNumber(folder);
    }
};
// Contents, results and whatever else is not for others to see.
struct Hidden {
    static constexpr std::size_t kCount = 1;
    template <typename Argument>
    static void put(TraceLine&, const Argument&) {}
};

// Kinds of calls: their area, and which of them are shown.
struct FileCall {
    static constexpr const char* kArea = kTraceFiles;
    template <typename... Arguments>
    static bool isShown(const Arguments&...) {
        return true;
    }
};
// What goes through a pipe or a socket may be a password, and its length says too much.
struct FileTransfer {
    static constexpr const char* kArea = kTraceFiles;
    template <typename... Others>
    static bool isShown(int file, const Others&...) {
        struct stat status;
        return ::fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    }
};
struct ProcessCall : FileCall {
    static constexpr const char* kArea = kTraceProcess;
};

inline void putResult(TraceLine& line, std::int64_t result, int error) {
    line.addNumber(result);
    if (result == -1) line.addError(error);
}
inline void putResult(TraceLine& line, const char* result, int error) {
    line.addQuoted(result);
    if (result == nullptr) line.addError(error);
}
inline void putResult(TraceLine& line, const dirent* result, int error) {
    line.addQuoted(result != nullptr ? result->d_name : nullptr);
    if (result == nullptr && error != 0) line.addError(error);
}
inline void putResult(TraceLine& line, const DIR* result, int error) {
    line.add(result != nullptr ? "0" : "null");
    if (result == nullptr) line.addError(error);
}

// A call's name as a template's argument.
template <std::size_t kSize>
struct CallName {
    // NOLINTNEXTLINE(google-explicit-constructor): written as a literal
    constexpr CallName(const char (&given)[kSize]) {
        for (std::size_t at = 0; at < kSize; ++at) text[at] = given[at];
    }
    char text[kSize]{};
};

template <auto Member>
struct EntryOfTable;
template <typename TheTable, typename TheFunction, TheFunction TheTable::*Member>
struct EntryOfTable<Member> {
    using Table = TheTable;
    using Function = TheFunction;
};

template <auto Member, CallName kName, typename Kind, typename Function, typename... Formats>
struct TracedEntry;
template <auto Member, CallName kName, typename Kind, typename Result, typename... Arguments,
          typename... Formats>
struct TracedEntry<Member, kName, Kind, Result (*)(Arguments...), Formats...> {
    static_assert((Formats::kCount + ... + 0) == sizeof...(Arguments));

    static Result call(Arguments... arguments) {
        // Some calls report an error by errno alone.
        const int before = errno;
        const bool isShown = Kind::isShown(arguments...);
        errno = before;
        const auto below = callsBelow<typename EntryOfTable<Member>::Table>->*Member;
        if (!isShown) return below(arguments...);
        TraceLine line(Kind::kArea, kName.text);
        putAll<0, Formats...>(line, std::tuple<const Arguments&...>(arguments...));
        line.beginCall();
        const Result result = below(arguments...);
        const int error = errno;
        line.endCall();
        putResult(line, result, error);
        line.end();
        errno = error;
        return result;
    }

  private:
    template <std::size_t kAt, typename First, typename... Rest, typename Tuple>
    static void putAll(TraceLine& line, const Tuple& arguments) {
        putOne<kAt, First>(line, arguments, std::make_index_sequence<First::kCount>());
        if constexpr (sizeof...(Rest) > 0) putAll<kAt + First::kCount, Rest...>(line, arguments);
    }
    template <std::size_t kAt, typename Format, typename Tuple, std::size_t... kIndices>
    static void putOne(TraceLine& line, const Tuple& arguments, std::index_sequence<kIndices...>) {
        Format::put(line, std::get<kAt + kIndices>(arguments)...);
    }
};

// Puts the traced call into the table.
template <auto Member, CallName kName, typename Kind, typename... Formats>
void trace(typename EntryOfTable<Member>::Table& table) {
    using Function = typename EntryOfTable<Member>::Function;
    table.*Member = TracedEntry<Member, kName, Kind, Function, Formats...>::call;
}

}  // namespace quillmoor::platform::posix
