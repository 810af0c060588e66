"""polkit asks the user through the agent that is registered."""

import os
import pwd
import re
import subprocess

from actors import CANCELED, DENIED, SUCCESS, DismissingAgent, Probe, Terminal, TypingAgent
from checks import check_authorized, check_user_cannot_be_asked, kill_helpers
from stage import HELPER, check, eventually, running, start_bus, zombies_of


def dialog(passwords):
    start_bus()
    with Probe("kxuser") as probe:
        check_user_cannot_be_asked(probe)
        with TypingAgent(probe, "kxuser") as agent:
            probe.say("dialog")
            check(agent.terminal.shows("AUTHENTICATING FOR com.quillmoor.rights "),
                  "the question is the product's own")
            check_message(probe, agent.terminal.read_until("Multiple identities"))
            agent.answer("kxadmin", passwords["kxadmin"])
            check(int(probe.answer().split()[0]) == SUCCESS, "the dialog is accepted")
            check_authorized(probe, "dialog")
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
        check_authorized(probe, "unasked")


def check_message(probe, message):
    """All of it, with what polkit fills in: no less than it asks for other programs."""
    text = " ".join(message.split())
    user = pwd.getpwnam("kxuser").pw_uid
    full_name = pwd.getpwnam("root").pw_gecos.split(",")[0]
    root = f"{full_name} (root)" if full_name else "root"
    expected = ("An application needs an administrator’s rights to change files that belong to the "
                f"system. It runs “{HELPER}” as {root}. Which process asks (--pid), and for which "
                f"user (--uid), is that process’s own claim: {HELPER} --connect PLACE --uid {user} "
                f"--pid {probe.pid}")
    pattern = re.escape(expected).replace("PLACE", r"\S+")
    check(re.search(rf"^=*\s*(\x1b\[0m)?{pattern}$", text),
          f"it says which program is run, as whom and for which process ({text})")


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
              not os.path.exists(folders[2]), "nor where the user cannot be asked")
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
        check(eventually(lambda: not running("pkttyagent")), "its agent has ended")
        check_authorized(probe, "terminal")
    terminal.close()
