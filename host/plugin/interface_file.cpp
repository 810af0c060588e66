#include "host/plugin/interface_file.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QUiLoader>
#include <QXmlStreamReader>
#include <filesystem>

#include "host/ground/display_text.h"
#include "host/ground/file_io.h"
#include "host/ground/host_error.h"

namespace quillmoor::host {
namespace {

bool isThere(const std::string& path) {
    std::error_code error;
    return std::filesystem::exists(path, error);
}

// Keeps the toolkit's loader from opening every Designer plug-in of the system: it would run their
// code, and interface files use Qt's own widgets only.
class WithoutDesignerPlugins {
  public:
    WithoutDesignerPlugins() : paths_(QCoreApplication::libraryPaths()) {
        QCoreApplication::setLibraryPaths({});
    }
    ~WithoutDesignerPlugins() { QCoreApplication::setLibraryPaths(paths_); }
    WithoutDesignerPlugins(const WithoutDesignerPlugins&) = delete;
    WithoutDesignerPlugins& operator=(const WithoutDesignerPlugins&) = delete;

  private:
    QStringList paths_;
};

// The deepest nesting of elements. Panes that people lay out stay below 50.
constexpr int kDeepest = 200;

// The toolkit reads interface files recursively, so that a deeply nested one would overflow the
// stack. A file that is not well-formed passes: the toolkit refuses it with its own message.
void checkDepth(const std::string& contents) {
    QXmlStreamReader reader(
        QByteArray::fromRawData(contents.data(), static_cast<qsizetype>(contents.size())));
    int depth = 0;
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::EndElement) --depth;
        if (token == QXmlStreamReader::StartElement && ++depth > kDeepest)
            throw HostError("line " + std::to_string(reader.lineNumber()) + ": more than " +
                            std::to_string(kDeepest) + " elements are nested");
    }
}

std::unique_ptr<QWidget> parsed(const std::string& contents, const std::string& folder) {
    checkDepth(contents);
    const WithoutDesignerPlugins ownWidgetsOnly;
    QUiLoader loader;
    // Relative paths in the file, such as those of pictures, begin at the bundle.
    loader.setWorkingDirectory(QDir(QFile::decodeName(folder.c_str())));
    // The language does not change while the host runs.
    loader.setLanguageChangeEnabled(false);
    QBuffer buffer;
    buffer.setData(contents.data(), static_cast<int>(contents.size()));
    buffer.open(QIODevice::ReadOnly);
    std::unique_ptr<QWidget> widget(loader.load(&buffer));
    if (!widget) throw HostError(bytesOf(loader.errorString().trimmed()));
    return widget;
}

}  // namespace

// The folder of the language and region first, then that of the language.
std::string findInterfaceFile(const BundleInfo& info, const QStringList& languages) {
    const std::string resources = "Contents/Resources/";
    const std::string name = info.interfaceFile + ".ui";
    for (const QString& language : languages) {
        for (const QString& each : {language, language.section('-', 0, 0)}) {
            std::string file = resources;
            file.append(bytesOf(each)).append(".lproj/").append(name);
            if (isThere(info.inBundle(file))) return file;
        }
    }
    if (isThere(info.inBundle(resources + name))) return resources + name;
    throw HostError("it has no interface file " + inQuotes(resources + name));
}

Interface loadInterface(const BundleInfo& info, const std::string& fileInBundle) {
    Interface result;
    try {
        result.widget = parsed(readWholeFile(info.inBundle(fileInBundle)), info.path);
    } catch (const HostError& error) {
        throw HostError(fileInBundle + " cannot be read: " + error.what());
    }
    result.paneClass = bytesOf(result.widget->property("paneClass").toString());
    if (result.paneClass.empty())
        throw HostError(fileInBundle +
                        " names no pane class: its topmost widget needs a property “paneClass”");
    return result;
}

}  // namespace quillmoor::host
