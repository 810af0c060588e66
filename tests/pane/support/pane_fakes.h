// The platform as a pane meets it, without applications, archives and tools of the computer.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "tests/support/forwarding.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::test {

class FakeApplications : public ForwardingApplications {
  public:
    OptionalPath product;
    bool opens = true;
    StringList opened;
    StringList looked;
    OptionalPath absolutePathForAppBundle(const std::string& identifier) override {
        looked.push_back(identifier);
        return identifier == "com.quillmoor.tallyframe" ? product : std::nullopt;
    }
    bool openFile(const std::string& path) override {
        opened.push_back(path);
        return opens && somethingAt(path);
    }
};

class FakeTools : public ForwardingToolPaths {
  public:
    std::string tool = "/nonexistent/ditto";
    std::string toolPath(const std::string&) override { return tool; }
};

class OwnBundle : public platform::Bundle {
  public:
    OptionalPath archive;
    StringList asked;
    std::function<void()> meanwhile = [] {};
    OptionalPath executablePath() override { return std::nullopt; }
    OptionalString infoDictionaryText(const std::string&) override { return std::nullopt; }
    OptionalPath pathForResource(const std::string& name, const std::string& type) override {
        asked = {name, type};
        meanwhile();
        return archive;
    }
};

class FakeBundles : public ForwardingBundles {
  public:
    std::shared_ptr<OwnBundle> own = std::make_shared<OwnBundle>();
    std::shared_ptr<platform::Bundle> bundleForCode(const void*) override { return own; }
};

// Replaces the archiving tool: records its arguments, each in brackets, and whether the folder it
// is given exists already, and creates it.
inline std::string writeTool(const TempFolder& folder) {
    const std::string tool =
        folder.writeFile("tool", "#!/bin/sh\nexec >> '" + (folder / "arguments") +
                                     "'\nprintf '[%s]' \"$@\"\n[ $# -ge 3 ] || exit 0\n"
                                     "[ ! -e \"$3\" ] || printf '(exists)'\n"
                                     "mkdir -p \"$3/Tallyframe Uninstaller.app\"\n");
    std::filesystem::permissions(tool, std::filesystem::perms::owner_all);
    return tool;
}

}  // namespace quillmoor::test
