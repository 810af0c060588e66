#include "tests/tools/ditto/libarchive_peer.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {
namespace fs = std::filesystem;
namespace {

void require(archive* archive, long result) {
    if (result < ARCHIVE_OK) throw std::runtime_error(::archive_error_string(archive));
}

std::string contentOf(archive* archive) {
    std::string content;
    std::array<char, 65536> buffer = {};
    for (;;) {
        const la_ssize_t got = ::archive_read_data(archive, buffer.data(), buffer.size());
        require(archive, got);
        if (got == 0) return content;
        content.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

std::string withoutSlash(std::string name) {
    if (name.ends_with('/')) name.pop_back();
    return name;
}

void writeItem(archive* archive, const std::string& path, const std::string& name) {
    struct stat info = {};
    if (::lstat(path.c_str(), &info) != 0) throw std::runtime_error("lstat " + path);
    const std::unique_ptr<archive_entry, decltype(&::archive_entry_free)> entry(
        ::archive_entry_new(), &::archive_entry_free);
    ::archive_entry_copy_pathname(entry.get(), name.c_str());
    ::archive_entry_copy_stat(entry.get(), &info);
    if (S_ISLNK(info.st_mode))
        ::archive_entry_copy_symlink(entry.get(), fs::read_symlink(path).c_str());
    require(archive, ::archive_write_header(archive, entry.get()));
    if (!S_ISREG(info.st_mode)) return;
    const std::string content = readFile(path);
    require(archive, ::archive_write_data(archive, content.data(), content.size()));
}

}  // namespace

std::vector<PeerEntry> readWithPeer(const std::string& path) {
    const std::unique_ptr<archive, decltype(&::archive_read_free)> reader(::archive_read_new(),
                                                                          &::archive_read_free);
    ::archive_read_support_format_zip_seekable(reader.get());
    require(reader.get(), ::archive_read_open_filename(reader.get(), path.c_str(), 65536));
    std::vector<PeerEntry> entries;
    for (;;) {
        archive_entry* entry = nullptr;
        const int result = ::archive_read_next_header(reader.get(), &entry);
        if (result == ARCHIVE_EOF) return entries;
        require(reader.get(), result);
        PeerEntry read;
        read.name = withoutSlash(::archive_entry_pathname(entry));
        read.mode = ::archive_entry_mode(entry);
        read.modified = ::archive_entry_mtime(entry);
        if (const char* target = ::archive_entry_symlink(entry)) read.linkTarget = target;
        read.content = contentOf(reader.get());
        entries.push_back(read);
    }
}

void writeWithPeer(const std::string& path, const std::string& folder) {
    const std::unique_ptr<archive, decltype(&::archive_write_free)> writer(::archive_write_new(),
                                                                           &::archive_write_free);
    ::archive_write_set_format_zip(writer.get());
    require(writer.get(), ::archive_write_open_filename(writer.get(), path.c_str()));
    for (const auto& item : fs::recursive_directory_iterator(folder))
        writeItem(writer.get(), item.path().string(),
                  item.path().string().substr(folder.size() + 1));
    require(writer.get(), ::archive_write_close(writer.get()));
}

}  // namespace quillmoor::test
