#include "tests/platform/support/file_fixtures.h"

#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "quillmoor/platform/posix/ground/descriptor.h"
#include "quillmoor/platform/posix/ground/system_calls_posix.h"

namespace quillmoor::test {
namespace {

namespace fs = std::filesystem;
using platform::posix::Descriptor;
using platform::posix::SystemCalls;

void describeItem(std::ostringstream& text, const std::string& path, const std::string& name) {
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0) {
        text << name << ": nothing\n";
        return;
    }
    text << name << ' ' << std::oct << status.st_mode << std::dec << ' ' << status.st_uid << ':'
         << status.st_gid << ' ' << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec << ' ';
    if (S_ISREG(status.st_mode)) text << status.st_size << ' ' << readFile(path);
    if (S_ISLNK(status.st_mode)) text << fs::read_symlink(path).string();
    text << '\n';
    if (!S_ISDIR(status.st_mode)) return;
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    for (const std::string& each : names) describeItem(text, path + "/" + each, name + "/" + each);
}

struct Exchange {
    std::string name;
    std::string one;
    std::string other;
    bool happened = false;
    const SystemCalls* next = nullptr;
} exchange;

int exchangeAndOpen(int folder, const char* name, int flags, mode_t mode) {
    if (!exchange.happened && name == exchange.name && (flags & O_DIRECTORY) != 0)
        exchange.happened = ::renameat2(AT_FDCWD, exchange.one.c_str(), AT_FDCWD,
                                        exchange.other.c_str(), RENAME_EXCHANGE) == 0;
    return exchange.next->openat(folder, name, flags, mode);
}

void setDate(const std::string& path, long seconds) {
    const timespec times[2] = {{seconds, 111}, {seconds, 123456789}};
    ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

}  // namespace

bool isRoot() {
    return ::geteuid() == 0;
}

bool isSignalBlocked(int signal) {
    sigset_t blocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    return ::sigismember(&blocked, signal) == 1;
}

std::string describeTree(const std::string& path) {
    std::ostringstream text;
    describeItem(text, path, ".");
    return text.str();
}

std::string makeNastyTree(const TempFolder& folder, const std::string& name) {
    const std::string path = folder.makeFolder(name);
    folder.writeFile(name + "/plain", "plain text");
    folder.writeFile(name + "/-rf", "a leading dash");
    folder.writeFile(name + "/two words\nand a line", "newline");
    folder.writeFile(name + "/caf\u00e9", "composed");
    folder.writeFile(name + "/cafe\u0301", "decomposed");
    folder.writeFile(name + "/\xff\xfe", "no UTF-8");
    folder.writeFile(name + "/\"quoted\" 'twice'", "quotes");
    folder.writeFile(name + "/sub/deeper/file", "deep down");
    folder.makeFolder(name + "/empty");
    folder.makeLink(name + "/dangling", "nowhere/at all");
    folder.makeLink(name + "/to folder", "sub");
    folder.makeLink(name + "/to root", "/");
    ::mkfifo((path + "/fifo").c_str(), 0640);
    ::chmod((path + "/plain").c_str(), 0444);
    ::chmod((path + "/-rf").c_str(), 0751);
    ::chmod((path + "/sub/deeper").c_str(), 0750);
    long date = 1'000'000'000;
    for (const char* each : {"/plain", "/-rf", "/dangling", "/to root", "/fifo", "/sub/deeper/file",
                             "/sub/deeper", "/sub", "/empty", ""})
        setDate(path + each, date += 1000);
    return path;
}

void makeDeepTree(const std::string& path, int depth, const std::string& name) {
    ::mkdir(path.c_str(), 0755);
    Descriptor at(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; i < depth; ++i) {
        if (::mkdirat(at.get(), name.c_str(), 0755) != 0) throw std::runtime_error("mkdirat");
        at = Descriptor(::openat(at.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    }
    const Descriptor file(::openat(at.get(), "bottom", O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (::write(file.get(), "here", 4) != 4) throw std::runtime_error("write");
}

int depthOf(const std::string& path, const std::string& name) {
    Descriptor at(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int depth = 0;; ++depth) {
        Descriptor next(::openat(at.get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!next) return depth;
        at = std::move(next);
    }
}

void letEverybodyIn(const TempFolder& folder) {
    // The folder of this process holds its temporary folder, which holds this one.
    const fs::path temporary = fs::path(folder.path()).parent_path();
    for (const fs::path& path : {fs::path(folder.path()), temporary, temporary.parent_path()})
        fs::permissions(path, fs::perms::others_exec | fs::perms::group_exec,
                        fs::perm_options::add);
}

int openDescriptors() {
    int count = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator("/proc/self/fd")) ++count;
    return count;
}

std::string listing(const std::string& path) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
}

ExchangedBeforeOpening::ExchangedBeforeOpening(std::string name, std::string one,
                                               std::string other) {
    static SystemCalls calls;
    calls = platform::posix::systemCalls();
    calls.openat = exchangeAndOpen;
    exchange = {std::move(name), std::move(one), std::move(other), false,
                platform::posix::exchangeSystemCalls(&calls)};
}

ExchangedBeforeOpening::~ExchangedBeforeOpening() {
    platform::posix::exchangeSystemCalls(exchange.next);
}

bool ExchangedBeforeOpening::happened() const {
    return exchange.happened;
}

PrivateMounts::PrivateMounts() {
    available_ = isRoot() && ::unshare(CLONE_NEWNS) == 0 &&
                 ::mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

PrivateMounts::~PrivateMounts() {
    std::istringstream paths(mounted_);
    std::vector<std::string> list;
    for (std::string path; std::getline(paths, path);) list.push_back(path);
    std::for_each(list.rbegin(), list.rend(),
                  [](const std::string& path) { ::umount2(path.c_str(), MNT_DETACH); });
}

bool PrivateMounts::mountMemory(const std::string& path, const std::string& options) {
    if (!available_ || ::mount("tmpfs", path.c_str(), "tmpfs", 0, options.c_str()) != 0)
        return false;
    mounted_ += path + "\n";
    return true;
}

bool PrivateMounts::bind(const std::string& from, const std::string& onto) {
    if (!available_ || ::mount(from.c_str(), onto.c_str(), nullptr, MS_BIND, nullptr) != 0)
        return false;
    mounted_ += onto + "\n";
    return true;
}

OtherFileSystem::OtherFileSystem(const TempFolder& folder, const std::string& size) {
    auto mounts = std::make_unique<PrivateMounts>();
    if (mounts->available()) {
        const std::string path = folder.makeFolder("other file system");
        if (!mounts->mountMemory(path, "mode=0755,size=" + size)) return;
        path_ = path;
        mounts_ = std::move(mounts);
        return;
    }
    struct stat here;
    struct stat there;
    if (::stat(folder.path().c_str(), &here) != 0 || ::stat("/dev/shm", &there) != 0) return;
    std::string pattern = "/dev/shm/kx-test-XXXXXX";
    if (here.st_dev == there.st_dev || ::mkdtemp(pattern.data()) == nullptr) return;
    path_ = pattern;
    allowed_ = std::make_unique<AllowWritesBelow>(path_);
}

OtherFileSystem::~OtherFileSystem() {
    std::error_code ignored;
    if (mounts_ == nullptr && available()) fs::remove_all(path_, ignored);
}

FakeUser::FakeUser(const TempFolder& folder) {
    home_ = folder.makeFolder("homes/tester");
    const std::string entry = "kxtester:x:54321:54321::" + home_ + ":/bin/sh\n";
    const std::string database = folder.writeFile("passwd", readFile("/etc/passwd") + entry);
    ::chmod(database.c_str(), 0644);
    available_ = mounts_.bind(database, "/etc/passwd") && ::chown(home_.c_str(), kId, kId) == 0;
}

std::string FakeUser::makeFolder(const std::string& name) const {
    const std::string path = home_ + "/" + name;
    fs::create_directories(path);
    if (::chown(path.c_str(), kId, kId) != 0) throw std::runtime_error("chown");
    return path;
}

}  // namespace quillmoor::test
