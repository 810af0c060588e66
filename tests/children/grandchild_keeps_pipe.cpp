// grandchild_keeps_pipe: ends immediately; its own child keeps the streams for a while and then
// writes "late".
#include <unistd.h>

#include <chrono>
#include <thread>

int main() {
    if (::fork() != 0) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return ::write(STDOUT_FILENO, "late", 4) < 0 ? 1 : 0;
}
