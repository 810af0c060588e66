"""The tests of administrator rights, by group. Each is a function of the passwords."""

import os
import pwd
import re
import stat
import statistics
import subprocess

from actors import (CANCELED, DENIED, INTERNAL, NOT_ALLOWED, SUCCESS, DismissingAgent, Probe,
                    Terminal, TypingAgent)
from stage import (HELPER, HELPER_NAME, check, eventually, read_file, run, run_as, running,
                   start_bus, zombies_of)


def check_rights(probe, text):
    """With rights, and after they were given up."""
    status, output = probe.execute("/usr/bin/id", "-u")
    check(status == SUCCESS and output == "0\n", text + ": tools run as the super-user")
    check(len(running(HELPER_NAME)) >= 1, text + ": a helper serves")
    check(probe.status("free") == SUCCESS, text + ": rights are given up")
    check(eventually(lambda: not running(HELPER)), text + ": the helper has gone")
    check(eventually(lambda: not zombies_of(probe.pid)), text + ": every launcher was collected")


def refused_before_password(probe, name, word, text):
    status, seconds = probe.timed("credentials", name, word)
    check(status == DENIED and seconds < 1.5, f"{text}: denied at once ({status}, {seconds:.2f} s)")


def check_nobody_to_ask(probe):
    """The quickest of some: others may keep the machine busy, and the first wakes polkit."""
    answers = [probe.timed("dialog") for _ in range(4)]
    seconds = min(answer[1] for answer in answers)
    check({answer[0] for answer in answers} == {NOT_ALLOWED} and seconds < 0.1,
          f"nobody to ask: told at once ({seconds:.3f} s)")


def credentials(passwords):
    """User name and password, through polkit."""
    start_bus()
    with Probe("kxuser") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "the right password")
        check_rights(probe, "password")
        check(probe.status("credentials", "kxann", passwords["kxann"]) == SUCCESS,
              "an administrator whose full name holds another login name")
        probe.ask("free")
        refused_before_password(probe, "kxuser", passwords["kxuser"], "not an administrator")
        refused_before_password(probe, "kxnobody", "x", "an unknown user")
        refused_before_password(probe, "", "x", "an empty name")
        refused_before_password(probe, "-c", "x", "a name like an option")
        refused_before_password(probe, "kxadmin", "x" * 600, "an endless password")
        check(probe.status("credentials", "kxadmin", "wrong") == DENIED, "a wrong password")
        status, seconds = probe.timed("unasked")
        check(status != SUCCESS and seconds < 0.1, "no credentials and no interaction")
        check(eventually(lambda: not running("pkttyagent")), "no agent stays")
        check_not_asked_again(probe, passwords["kxadmin"])
    failing_agents(passwords["kxadmin"])
    with Probe("kxfree") as probe:
        check(probe.status("credentials", "kxfree", "wrong") == DENIED,
              "a wrong password where none is asked for")
        check(eventually(lambda: not running(HELPER)), "and its helper has gone")
        check(probe.status("credentials", "kxfree", passwords["kxfree"]) == SUCCESS,
              "the right password where none is asked for")
        check_rights(probe, "unasked")
    with Probe("kxfree", ignore_children=True) as probe:
        check(probe.status("credentials", "kxfree", passwords["kxfree"]) == SUCCESS,
              "the host does not care for its children")
        check_rights(probe, "ignored children")
    with Probe("kxuser") as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "the session starts with a name and a password")


def kill_helpers():
    for pid in running(HELPER):
        os.kill(pid, 9)
    check(eventually(lambda: not running(HELPER)), "the helper is killed")


def check_not_asked_again(probe, word):
    """A password is not kept, and the user's own agent does not come into it."""
    check(probe.status("credentials", "kxadmin", word) == SUCCESS, "rights for a password")
    kill_helpers()
    with DismissingAgent(probe, "kxuser"):
        check(probe.execute("/usr/bin/id", "-u") == (DENIED, ""), "they end with their helper")


FAILING_AGENTS = {
    "is killed": "#!/bin/sh\nkill -9 $$\n",
    "cannot be loaded": "#!/bin/sh\necho 'error while loading shared libraries' >&2\nexit 127\n",
    "ends without a word": "#!/bin/sh\nexit 0\n"
}


def failing_agents(word):
    """Without an agent for the password, nobody else is asked instead."""
    for text, script in FAILING_AGENTS.items():
        with open("/srv/agent", "w", encoding="ascii") as file:
            file.write(script)
        os.chmod("/srv/agent", 0o755)
        run("mount", "--bind", "/srv/agent", "/usr/bin/pkttyagent")
        with Probe("kxuser") as probe, DismissingAgent(probe, "kxuser"):
            check(probe.status("credentials", "kxadmin", word) == NOT_ALLOWED,
                  f"an agent that {text}")
        run("umount", "/usr/bin/pkttyagent")


def dialog(passwords):
    """polkit asks the user, through whatever agent there is."""
    start_bus()
    with Probe("kxuser") as probe:
        check_nobody_to_ask(probe)
        with TypingAgent(probe, "kxuser") as agent:
            probe.say("dialog")
            check(agent.terminal.shows("AUTHENTICATING FOR com.quillmoor.rights "),
                  "the question is the product's own")
            agent.answer("kxadmin", passwords["kxadmin"])
            check(int(probe.answer().split()[0]) == SUCCESS, "the dialog is accepted")
            check_rights(probe, "dialog")
            probe.say("dialog")
            agent.answer("kxadmin", "wrong")
            check(int(probe.answer().split()[0]) == DENIED, "a wrong password in the dialog")
        with DismissingAgent(probe, "kxuser"):
            check(probe.status("dialog") == CANCELED, "the dialog is dismissed")
            check(probe.ask("session", "start") == "NO", "the session does not start then")
        with TypingAgent(probe, "kxuser") as agent:
            probe.say("dialog")
            check(agent.terminal.shows("AUTHENTICATING FOR"), "a dialog is up")
            for pid in running("pkexec"):
                subprocess.run(["kill", str(pid)], check=False)
            check(int(probe.answer().split()[0]) == CANCELED, "the launcher is ended meanwhile")
    killed_helper(passwords)
    own_terminal(passwords)
    with Probe("kxfree") as probe:
        check(probe.status("dialog") == SUCCESS, "the administrator lets this user do anything")
        check_rights(probe, "unasked")


def killed_helper(passwords):
    """The user is asked again, once for each operation that needs it."""
    folders = [f"/srv/folder{number}" for number in range(3)]
    create = lambda probe, folder: probe.say("session", "create", folder)
    with Probe("kxuser") as probe:
        with TypingAgent(probe, "kxuser") as agent:
            probe.say("session", "start")
            agent.answer("kxadmin", passwords["kxadmin"])
            check(probe.answer() == "YES", "the session starts with a dialog")
            kill_helpers()
            check(probe.ask("session", "isAuthorized") == "YES", "which the session cannot know")
            create(probe, folders[0])
            agent.answer("kxadmin", passwords["kxadmin"])
            check(probe.answer() == "YES" and eventually(lambda: os.path.isdir(folders[0])),
                  "the next operation asks again, and is done")
            check(probe.ask("session", "create", folders[1]) == "YES" and
                  eventually(lambda: os.path.isdir(folders[1])), "the one after it does not ask")
            kill_helpers()
        with DismissingAgent(probe, "kxuser"):
            check(probe.ask("session", "create", folders[2]) == "NO",
                  "an operation is not done when the dialog is dismissed")
        check(probe.ask("session", "create", folders[2]) == "NO" and
              not os.path.exists(folders[2]), "nor where nobody can be asked")
        check(eventually(lambda: not zombies_of(probe.pid)), "every launcher was collected")


def own_terminal(passwords):
    terminal = Terminal()
    with Probe("kxuser", terminal) as probe:
        probe.say("dialog")
        check(terminal.shows("AUTHENTICATING FOR"), "the user's terminal shows the question")
        terminal.choose("kxadmin")
        terminal.type_password(passwords["kxadmin"])
        check(int(probe.answer().split()[0]) == SUCCESS, "it is answered there")
        check(terminal.echoes(), "the terminal is as it was")
        check(eventually(lambda: not running("pkttyagent")), "its agent has gone")
        check_rights(probe, "terminal")
    terminal.close()


def sudo(passwords):
    """No polkit: there is no bus."""
    with Probe("kxuser") as probe:
        check_nobody_to_ask(probe)
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "su to the administrator, then sudo")
        check_rights(probe, "su and sudo")
        check(probe.status("credentials", "root", passwords["root"]) == SUCCESS,
              "su to the super-user")
        check_rights(probe, "su")
        check(probe.status("credentials", "root", "wrong") == DENIED, "su, a wrong password")
        check(probe.status("credentials", "kxuser", passwords["kxuser"]) == DENIED,
              "sudo, not in its list")
        refused_before_password(probe, "kxnobody", "x", "an unknown user")
    with Probe("kxadmin") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "sudo, the right password")
        check_rights(probe, "sudo")
        check(probe.status("credentials", "kxadmin", "wrong") == DENIED, "sudo, a wrong password")
    with Probe("kxfree") as probe:
        check(probe.status("credentials", "kxfree", "wrong") == DENIED,
              "a wrong password where none is asked for")
        check(probe.status("credentials", "kxfree", passwords["kxfree"]) == SUCCESS,
              "the right password where none is asked for")
        check_rights(probe, "unasked")
    sudo_on_terminal(passwords)


def sudo_on_terminal(passwords):
    terminal = Terminal()
    with Probe("kxadmin", terminal) as probe:
        probe.say("dialog")
        terminal.type_password(passwords["kxadmin"], "password for kxadmin: ")
        check(int(probe.answer().split()[0]) == SUCCESS, "sudo asks on the user's terminal")
        check(terminal.echoes(), "the terminal is as it was")
        check_rights(probe, "terminal")
    terminal.close()


def attacks(passwords):
    """What is tried against the helper, and against those who wait for it."""
    word = passwords["kxadmin"]
    start_bus()
    waiting_attacks(word)
    made = "/srv/made"
    for command, text in (("forked", "a forked child's request"), ("thief", "a thief's request")):
        with Probe("kxuser") as probe:
            probe.ask("credentials", "kxadmin", word)
            told = probe.ask(command, made)
            if told == "denied":
                print("ok      " + text + ": the system does not let it happen")
                continue
            check(told == "sent" and eventually(lambda: not running(HELPER)) and
                  not os.path.exists(made), text + " ends the helper")
            status, _ = probe.execute("/usr/bin/id")
            check(status == DENIED, text + ": the rights are gone")
    with Probe("kxuser") as probe:
        probe.ask("credentials", "kxadmin", word)
        check(probe.ask("rightful", made) == "sent" and eventually(lambda: os.path.exists(made)),
              "the same request from the process itself is served")
    with Probe("kxuser") as probe:
        probe.ask("credentials", "kxadmin", word)
        child = int(probe.ask("keep"))
        probe.process.kill()
        check(eventually(lambda: not running(HELPER)) and os.path.exists(f"/proc/{child}"),
              "the helper ends with its client, whoever holds the channel")
        os.kill(child, 9)
    swapped_helper(word)


def waiting_attacks(word):
    with Probe("kxuser") as probe, TypingAgent(probe, "kxuser") as agent:
        probe.say("dialog")
        check(agent.terminal.shows("AUTHENTICATING FOR"), "a client waits")
        folder = next("/tmp/" + name for name in os.listdir("/tmp")
                      if name.startswith("quillmoor-"))
        path = folder + "/rights"
        check(stat.S_IMODE(os.stat(folder).st_mode) == 0o700, "its folder is its own")
        check(knock("kxann", path) == "PermissionError", "a foreign user does not get in")
        check(knock("kxuser", path) == "closed", "an impostor of the same user is sent away")
        check(knock("root", path) == "closed", "a foreign process of the super-user is sent away")
        arguments = ["--connect", path, "--uid", str(os.stat(folder).st_uid),
                     "--pid", str(probe.pid)]
        for user in ("root", "kxuser"):
            check(run_as(user, HELPER, *arguments).returncode > 0,
                  f"the helper does not serve when {user} starts it by hand")
        check(run_as("root", HELPER).returncode > 0, "nor without arguments")
        agent.terminal.choose("kxadmin")
        agent.terminal.type_password(word)
        check(int(probe.answer().split()[0]) == SUCCESS, "the right one is still let in")
        check(not os.path.exists(folder), "its folder has gone")
        check_rights(probe, "after impostors")


KNOCK = """
import socket, sys
peer = socket.socket(socket.AF_UNIX)
peer.settimeout(5)
try:
    peer.connect(sys.argv[1])
    peer.sendall(bytes.fromhex(sys.argv[2]))
    print("open" if peer.recv(1) else "closed")
except (ConnectionResetError, BrokenPipeError):
    print("closed")
except OSError as error:
    print(type(error).__name__)
"""


def knock(user, path):
    """Greets as a helper does."""
    hello = (0x4B585201).to_bytes(4, "little") + (1).to_bytes(4, "little") + bytes(8)
    return run_as(user, "/usr/bin/python3", "-c", KNOCK, path, hello.hex()).stdout.strip()


def swapped_helper(word):
    """A helper that others can exchange is not started, whatever it is."""
    os.chmod(os.path.dirname(HELPER), 0o777)
    with Probe("kxuser") as probe:
        check(probe.status("credentials", "kxadmin", word) == INTERNAL,
              "a helper that others can exchange is not started")
    os.chmod(os.path.dirname(HELPER), 0o755)


def files(passwords):
    """The file operations of the rights session, on things that belong to the super-user."""
    start_bus()
    ground = "/srv/ground"
    os.makedirs(ground + "/folder/inner")
    for name in ("remove", "move", "copy", "folder/inner/deep", "-rf", "a\nb"):
        with open(f"{ground}/{name}", "w", encoding="ascii") as file:
            file.write(name)
    with Probe("kxuser") as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "the session starts")
        calls(probe, ground)
        probe.ask("session", "end")
        check(probe.ask("session", "isAuthorized") == "NO", "the session ends")
        check(eventually(lambda: not running(HELPER)), "and its helper with it")


def calls(probe, ground):
    def call(*words):
        return probe.ask("session", words[0], *(f"{ground}/{word}" for word in words[1:])) == "YES"

    def there(name):
        return os.path.lexists(f"{ground}/{name}")

    check(call("remove", "remove") and eventually(lambda: not there("remove")), "remove a file")
    check(call("remove", "folder") and eventually(lambda: not there("folder")), "remove a folder")
    check(call("remove", "-rf") and eventually(lambda: not there("-rf")),
          "remove a file whose name begins with a dash, by its whole path")
    check(call("remove", "a\nb") and eventually(lambda: not there("a\nb")),
          "remove a file whose name has two lines")
    check(call("move", "move", "moved") and
          eventually(lambda: there("moved") and not there("move")), "move a file")
    check(call("copy", "copy", "copied") and eventually(lambda: there("copied")) and
          there("copy"), "copy a file")
    check(call("create", "new/inner") and eventually(lambda: there("new/inner")), "make folders")
    check(os.stat(ground + "/new/inner").st_uid == 0, "what is made belongs to the super-user")
    check(call("trash", "moved") and eventually(lambda: not there("moved")), "trash a file")
    check_trashed(ground + "/moved", "move")


def check_trashed(path, text):
    """The item is the super-user's as before; what the Trash has beside it is the user's own."""
    home, user = "/home/kxuser", pwd.getpwnam("kxuser").pw_uid
    trash = home + "/.local/share/Trash"
    item, record = (f"{trash}/{place}" for place in ("files/moved", "info/moved.trashinfo"))
    check(eventually(lambda: os.path.exists(item) and read_file(item) == text.encode()),
          "it is in the Trash")
    check(os.lstat(item).st_uid == 0, "and keeps its owner")
    check(os.path.realpath(home + "/.Trash") == trash + "/files" and
          os.path.islink(home + "/.Trash"), "the home has a link to the Trash")
    lines = re.escape(f"[Trash Info]\nPath={path}\n").encode() + \
        rb"DeletionDate=\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\n"
    check(re.fullmatch(lines, read_file(record)), "the record tells where it came from, and when")
    made = (home + "/.Trash", trash, trash + "/files", trash + "/info", record)
    check({os.lstat(each).st_uid for each in made} == {user}, "all that belongs to the user")


def speed(passwords):
    """No test: rows for the table of benchmarks."""
    start_bus()
    with Probe("kxuser") as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "rights for the benchmark")
        pairs = [tuple(map(float, probe.ask("compare", "200").split())) for _ in range(5)]
        ours, bare = (statistics.median(side) for side in zip(*pairs))
        ratio = statistics.median(pair[0] / pair[1] for pair in pairs)
        row("start a tool with held rights", f"{ours:.0f} us", f"{bare:.0f} us", ratio, 1.5)
    with Probe("kxuser") as probe:
        seconds = min(probe.timed("dialog")[1] for _ in range(5))
        row("refusal where nobody can be asked", f"{seconds * 1000:.1f} ms", "100 ms",
            seconds / 0.1, 1)


def row(work, ours, peer, ratio, target):
    met = "met" if ratio <= target else "NOT met"
    print(f"{work} | {ours} | {peer} | {ratio:.2f} | <= {target:.2f} | {met}", flush=True)


GROUPS = {"speed": speed, "credentials": credentials, "dialog": dialog, "sudo": sudo,
          "attacks": attacks, "files": files}
