// Runs uname, and prints and logs its output.
#include <quillmoor/log/KXLog.h>
#include <quillmoor/task/KXTaskEx.h>

using namespace quillmoor;

int main() {
    KXLog::createNewLog();
    const auto system = KXTaskEx::stringFromTask("/bin/uname", StringList{"-srm"});
    KXLog::appendLogAndPrint("Running on %@", system);
    KXLog::finishWriting();
    return system ? 0 : 1;
}
