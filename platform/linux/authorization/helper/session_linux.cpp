#include "quillmoor/platform/linux/authorization/helper/session_linux.h"

#include <optional>
#include <string>
#include <string_view>

#include "quillmoor/platform/linux/authorization/channel/message_linux.h"
#include "quillmoor/platform/linux/authorization/channel/tool_environment_linux.h"
#include "quillmoor/platform/linux/authorization/helper/receiver_linux.h"
#include "quillmoor/platform/linux/authorization/helper/tool_linux.h"

namespace quillmoor::platform::linux_::authorization::helper {

void serve(const Client& client, ToolStarted started) {
    const int socket = client.socket.get();
    const Environment environment = toolEnvironment(std::to_string(client.uid));
    Receiver receiver(client);
    if (!sendMessage(socket, MessageKind::Hello, {})) return;
    while (std::optional<Request> request = receiver.next()) {
        const ReplyBody error = startTool(*request, environment);
        // Before the reply, so that a client cannot end the helper before the start is recorded.
        if (error == 0) started(client, request->command);
        const std::string_view reply(reinterpret_cast<const char*>(&error), sizeof error);
        if (!sendMessage(socket, MessageKind::Reply, reply)) return;
    }
}

}  // namespace quillmoor::platform::linux_::authorization::helper
