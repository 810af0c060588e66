// Files, Apple events and Launch Services as fakes that record each call, with what the caller's
// memory holds at the time.
#pragma once

#include <CoreServices/CoreServices.h>

#include <map>
#include <string>
#include <vector>

namespace quillmoor::test {

// One at a time, as long as it lives. Without one the calls work in the same way.
class FakeCoreServices {
  public:
    FakeCoreServices();
    ~FakeCoreServices();
    FakeCoreServices(const FakeCoreServices&) = delete;
    FakeCoreServices& operator=(const FakeCoreServices&) = delete;

    std::vector<std::string> calls;  // by name, in their order

    std::map<std::string, FSCatalogInfo> infoOf;  // by path
    std::vector<FSCatalogInfoBitmap> wanted;
    std::vector<FSCatalogInfoBitmap> given;
    OSErr getStatus = 0;
    OSErr setStatus = 0;

    OSErr aliasStatus = 0;
    OSStatus buildStatus = 0;
    OSStatus sendStatus = 0;
    int aliases = 0;       // made and not disposed of
    int descriptions = 0;  // with data, and not disposed of
    struct Event {
        UInt32 eventClass = 0, event = 0, addressType = 0;
        std::string address;
        int returnID = 0, transactionID = 0;
        bool startsEmpty = false;
        bool hasErrorRecord = false;
        std::string format;
        std::string aliasOf;  // the path of the alias that is the parameter
    };
    std::vector<Event> events;
    int sendMode = 0;
    long sendTimeout = 0;
    bool replyStartsEmpty = false;

    std::vector<std::string> registered;  // paths
    bool registrationUpdates = false;
    OSStatus registerStatus = 0;
};

}  // namespace quillmoor::test
