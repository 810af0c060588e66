#include "files/item.h"

#include "log/KXException.h"
#include "platform/exception.h"

namespace quillmoor {

bool withRights(const char* method, const std::function<bool(KXAuthorization&)>& operation) {
    try {
        return operation(*KXAuthorization::sharedController());
    } catch (const platform::Exception& exception) {
        KXException::logException(&exception, method);
        return false;
    }
}

}  // namespace quillmoor
