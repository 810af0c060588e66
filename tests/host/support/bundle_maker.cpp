#include "tests/host/support/bundle_maker.h"

#include <filesystem>
#include <sstream>

namespace quillmoor::test {
namespace {

std::string hiddenLabel(const std::string& name, const std::string& text) {
    return R"(<item><widget class="QLabel" name=")" + name +
           R"("><property name="visible"><bool>false</bool></property>
<property name="text"><string>)" +
           text + R"(</string></property></widget></item>
)";
}

std::string button(const std::string& name, const std::string& action, bool visible) {
    return R"(<item><widget class="QPushButton" name=")" + name +
           R"("><property name="action" stdset="0"><string>)" + action +
           R"(</string></property><property name="visible"><bool>)" + (visible ? "true" : "false") +
           R"(</bool></property>
<property name="text"><string>)" +
           name + R"(</string></property></widget></item>
)";
}

}  // namespace

std::string interfaceFor(const std::string& paneClass, const std::vector<std::string>& actions) {
    std::string file = R"(<?xml version="1.0" encoding="UTF-8"?>
<ui version="4.0"><class>Recorder</class><widget class="QWidget" name="Recorder">
<property name="paneClass" stdset="0"><string>)" +
                       paneClass + R"(</string></property><layout class="QVBoxLayout" name="column">
)";
    file += hiddenLabel("titleText", "A heading") + hiddenLabel("descriptionText", "A description");
    file += button("uninstallBtn", "uninstall:", false);
    for (const std::string& action : actions)
        file += button(action.substr(0, action.find(':')), action, true);
    return file + "</layout></widget></ui>\n";
}

std::string infoPlist(const std::map<std::string, std::string>& info) {
    std::string list = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
)";
    for (const auto& [key, value] : info)
        list += "<key>" + key + "</key><string>" + value + "</string>\n";
    return list + "</dict></plist>\n";
}

std::string makeBundle(const TempFolder& folder, const std::string& name,
                       const BundleParts& parts) {
    const std::string contents = name + "/Contents/";
    folder.makeFolder(contents + "Linux");
    folder.writeFile(contents + "Info.plist", infoPlist(parts.info));
    if (!parts.interfaceFile.empty())
        folder.writeFile(contents + "Resources/Recorder.ui", parts.interfaceFile);
    if (!parts.program.empty())
        std::filesystem::copy_file(parts.program, folder / (contents + "Linux/Recorder.so"));
    return folder / name;
}

std::string makeBundle(const TempFolder& folder, const std::string& name,
                       const std::string& paneClass, const std::vector<std::string>& actions) {
    BundleParts parts;
    parts.interfaceFile = interfaceFor(paneClass, actions);
    return makeBundle(folder, name, parts);
}

std::vector<std::string> linesOf(const std::string& path) {
    std::istringstream text(readFile(path));
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
}

}  // namespace quillmoor::test
