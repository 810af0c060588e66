#include "tools/version-check/report.h"

#include <nlohmann/json.hpp>

#include "quillmoor/pane/installed_product.h"
#include "tools/command/printable.h"

namespace quillmoor::version_check {
namespace {

using Json = nlohmann::ordered_json;
using command::printable;

const char* nameOf(State state) {
    switch (state) {
        case State::Absent:
            return "absent";
        case State::Older:
            return "older";
        case State::Same:
            return "same";
        case State::Newer:
            return "newer";
        case State::Installed:
            break;
    }
    return "installed";
}

const char* nameOf(RemovalOutcome outcome) {
    switch (outcome) {
        case RemovalOutcome::Opened:
            return "opened";
        case RemovalOutcome::Removed:
            return "removed";
        case RemovalOutcome::Left:
            return "left";
        case RemovalOutcome::TimedOut:
            return "timed out";
        case RemovalOutcome::Interrupted:
            return "interrupted";
        case RemovalOutcome::NotUnpacked:
            return "not unpacked";
        case RemovalOutcome::NotStarted:
            break;
    }
    return "not started";
}

Json orNull(const OptionalString& text) {
    return text ? Json(*text) : Json(nullptr);
}

Json objectOf(const Product& product, const OptionalString& comparedWith) {
    return {{"product", kProductIdentifier},
            {"state", nameOf(product.state)},
            {"path", orNull(product.path)},
            {"version", orNull(product.version)},
            {"comparedWith", orNull(comparedWith)}};
}

std::string written(const Json& object) {
    return object.dump(4, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::string comparison(State state, const OptionalString& with) {
    switch (state) {
        case State::Older:
            return ", older than " + *with;
        case State::Newer:
            return ", newer than " + *with;
        case State::Same:
            return ", the same as " + *with;
        case State::Installed:
            return with ? ", which cannot be compared with " + *with : "";
        case State::Absent:
            break;
    }
    return "";
}

}  // namespace

std::string sentence(const Product& product, const OptionalString& comparedWith) {
    if (!product.path) return "Tallyframe is not installed.\n";
    const std::string version =
        product.version ? "version " + printable(*product.version) : "of an unknown version";
    const OptionalString with =
        comparedWith ? OptionalString(printable(*comparedWith)) : std::nullopt;
    return "Tallyframe is installed, " + version + comparison(product.state, with) + ": " +
           printable(*product.path) + "\n";
}

std::string sentence(const Removal& removal) {
    switch (removal.outcome) {
        case RemovalOutcome::Opened:
            return "The uninstaller was opened: " + printable(*removal.uninstaller) + "\n";
        case RemovalOutcome::Removed:
            return "Tallyframe was removed.\n";
        case RemovalOutcome::Left:
            return "The uninstaller has ended, and something of Tallyframe is left.\n";
        case RemovalOutcome::TimedOut:
        case RemovalOutcome::Interrupted:
            return "The uninstaller was ended before it was done" +
                   (removal.uninstaller
                        ? ", and still runs: " + printable(*removal.uninstaller) + "\n"
                        : std::string(".\n"));
        case RemovalOutcome::NotUnpacked:
            return "The uninstaller could not be unpacked" +
                   (removal.reason ? ": " + printable(*removal.reason) : "") + ".\n";
        case RemovalOutcome::NotStarted:
            break;
    }
    return "The uninstaller could not be started from the temporary folder. Where that forbids "
           "programs, TMPDIR can name another.\n";
}

std::string json(const Product& product, const OptionalString& comparedWith) {
    return written(objectOf(product, comparedWith));
}

std::string json(const Product& product, const OptionalString& comparedWith, const Removal& removal,
                 const std::vector<std::string>& output) {
    Json object = objectOf(product, comparedWith);
    object["removal"] = {{"outcome", nameOf(removal.outcome)},
                         {"uninstaller", orNull(removal.uninstaller)},
                         {"reason", orNull(removal.reason)},
                         {"output", output}};
    return written(object);
}

}  // namespace quillmoor::version_check
