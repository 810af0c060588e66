"""Starts polkit's helper for each connection to its socket, as newer systems do:
agent_service.py HELPER. It prints the name of each user who is to be authenticated."""

import os
import socket
import struct
import sys

SOCKET = "/run/polkit/agent-helper.socket"


def read_line(connection):
    """Byte by byte: what follows is the helper's."""
    line = b""
    while not line.endswith(b"\n"):
        line += connection.recv(1)
    return line[:-1].decode()


os.makedirs(os.path.dirname(SOCKET), exist_ok=True)
listener = socket.socket(socket.AF_UNIX)
listener.bind(SOCKET)
os.chmod(SOCKET, 0o666)
listener.listen()
print("ready", flush=True)
while True:
    connection = listener.accept()[0]
    user = read_line(connection)
    print(user, flush=True)
    if os.fork() == 0:
        # polkit accepts the result from the agent's own user only.
        peer = connection.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, struct.calcsize("3i"))
        os.setuid(struct.unpack("3i", peer)[1])
        for number in (0, 1):
            os.dup2(connection.fileno(), number)
        os.execv(sys.argv[1], [sys.argv[1], user])
    connection.close()
