#include "tests/host/support/version_check.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace quillmoor::test {
namespace {

namespace fs = std::filesystem;

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

void makeExecutable(const std::string& path) {
    fs::permissions(path, fs::perms::owner_all);
}

}  // namespace

std::map<std::string, std::string> Computer::environment() const {
    folder_.makeFolder("tmp");
    return {{"HOME", folder_.makeFolder("home")},
            {"TMPDIR", temporary()},
            {"XDG_RUNTIME_DIR", folder_.makeFolder("run")},
            {"XDG_DATA_HOME", folder_.makeFolder("data")},
            {"XDG_DATA_DIRS", folder_.makeFolder("share")},
            {"XDG_CONFIG_HOME", folder_.makeFolder("config")},
            {"OPENED", opened()}};
}

void Computer::use() const {
    auto variables = environment();
    variables.erase("TMPDIR");  // the temporary folder of the tests after this one
    for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
}

std::string Computer::entry() const {
    return folder_ / "share/applications/com.quillmoor.tallyframe.desktop";
}

void Computer::install() const {
    makeExecutable(folder_.writeFile("tallyframe", "#!/bin/sh\n"));
    folder_.writeFile("share/applications/com.quillmoor.tallyframe.desktop",
                      "[Desktop Entry]\nType=Application\nName=Tallyframe\nExec=" +
                          (folder_ / "tallyframe") + "\n");
}

void Computer::uninstall() const {
    fs::remove(entry());
}

std::string Computer::bundleWithoutArchive() const {
    const std::string bundle = folder_ / "VersionCheck.bundle";
    fs::copy(VERSION_CHECK_BUNDLE, bundle, fs::copy_options::recursive);
    fs::remove(bundle + "/Contents/Resources/Tallyframe Uninstaller.zip");
    return bundle;
}

std::string Computer::bundleWithStub(const std::string& application) const {
    const std::string bundle = bundleWithoutArchive();
    makeExecutable(folder_.writeFile("content/" + application + "/Contents/Linux/Stub",
                                     "#!/bin/sh\necho \"$0\" >>\"$OPENED\"\n"));
    const std::string command = quoted(bundle + "/Contents/Linux/ditto") + " -c -k " +
                                quoted(folder_ / "content") + " " +
                                quoted(bundle + "/Contents/Resources/Tallyframe Uninstaller.zip");
    if (std::system(command.c_str()) != 0) throw std::runtime_error(command);
    return bundle;
}

}  // namespace quillmoor::test
