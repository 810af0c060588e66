"""A user name and a password, through polkit."""

from actors import DENIED, SUCCESS, DismissingAgent, Probe
from checks import check_authorized, kill_helpers, refused_before_password
from stage import HELPER, check, eventually, running, start_bus


def credentials(passwords):
    start_bus()
    with Probe("kxuser") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "the right password")
        check_authorized(probe, "password")
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
        check(eventually(lambda: not running("pkttyagent")), "no agent on a terminal is used")
        check_not_asked_again(probe, passwords["kxadmin"])
    with Probe("kxfree") as probe:
        check(probe.status("credentials", "kxfree", "wrong") == DENIED,
              "a wrong password where none is asked for")
        check(eventually(lambda: not running(HELPER)), "and its helper has ended")
        check(probe.status("credentials", "kxfree", passwords["kxfree"]) == SUCCESS,
              "the right password where none is asked for")
        check_authorized(probe, "unasked")
    with Probe("kxfree", ignore_children=True) as probe:
        check(probe.status("credentials", "kxfree", passwords["kxfree"]) == SUCCESS,
              "the host does not care for its children")
        check_authorized(probe, "ignored children")
    with Probe("kxuser") as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "the session starts with a name and a password")


def check_not_asked_again(probe, word):
    """A password is not kept, and the user's own agent does not come into it."""
    check(probe.status("credentials", "kxadmin", word) == SUCCESS, "authorization by a password")
    kill_helpers()
    with DismissingAgent(probe, "kxuser"):
        check(probe.execute("/usr/bin/id", "-u") == (DENIED, ""), "they end with their helper")
