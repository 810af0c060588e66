"""A /proc that hides the processes of others."""

import pwd

from actors import DENIED, NOT_ALLOWED, SUCCESS, Probe, TypingAgent
from checks import check_authorized
from launchers import LAUNCHERS
from stage import HELPER, check, eventually, run, running, start_bus


def hide(options):
    run("mount", "-o", "remount," + options, "/proc")


def refused(name, passwords, status):
    with Probe(LAUNCHERS[name].client) as probe:
        result = LAUNCHERS[name].start(probe, passwords)
        check(result == status, f"{name}: is refused ({result})")
        check(eventually(lambda: not running(HELPER)), f"{name}: and no helper stays")


def hidden(passwords):
    hide("hidepid=2")
    for name in ("sudo", "su", "su-sudo"):
        refused(name, passwords, DENIED)
    start_bus()
    refused("polkit", passwords, NOT_ALLOWED)
    with Probe("kxuser") as probe, TypingAgent(probe, "kxuser") as agent:
        check(eventually(lambda: agent.process.poll() is not None),
              "polkit, which does not see the client, takes no agent for it")
        status = probe.status("dialog")
        check(status == DENIED, f"and the dialog is refused ({status})")

    # As administrators have it who hide processes and use polkit.
    hide(f"hidepid=2,gid={pwd.getpwnam('polkitd').pw_gid}")
    for name in ("polkit", "dialog"):
        with Probe(LAUNCHERS[name].client) as probe:
            check(LAUNCHERS[name].start(probe, passwords) == SUCCESS,
                  name + ": polkit alone sees the client, which is enough")
            check_authorized(probe, name)
    hide("hidepid=0")
