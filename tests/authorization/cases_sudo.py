"""sudo and su, where there is no polkit."""

from actors import DENIED, SUCCESS, Probe, Terminal
from checks import check_authorized, check_user_cannot_be_asked, refused_before_password
from stage import check


def sudo(passwords):
    with Probe("kxuser") as probe:
        check_user_cannot_be_asked(probe)
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "su to the administrator, then sudo")
        check_authorized(probe, "su and sudo")
        check(probe.status("credentials", "root", passwords["root"]) == SUCCESS,
              "su to root")
        check_authorized(probe, "su")
        check(probe.status("credentials", "root", "wrong") == DENIED, "su, a wrong password")
        check(probe.status("credentials", "kxuser", passwords["kxuser"]) == DENIED,
              "sudo, not in its list")
        refused_before_password(probe, "kxnobody", "x", "an unknown user")
    with Probe("kxadmin") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "sudo, the right password")
        check_authorized(probe, "sudo")
        check(probe.status("credentials", "kxadmin", "wrong") == DENIED, "sudo, a wrong password")
    with Probe("kxfree") as probe:
        check(probe.status("credentials", "kxfree", "wrong") == DENIED,
              "a wrong password where none is asked for")
        check(probe.status("credentials", "kxfree", passwords["kxfree"]) == SUCCESS,
              "the right password where none is asked for")
        check_authorized(probe, "unasked")
    sudo_on_terminal(passwords)


def sudo_on_terminal(passwords):
    terminal = Terminal()
    with Probe("kxadmin", terminal) as probe:
        probe.say("dialog")
        terminal.type_password(passwords["kxadmin"], "password for kxadmin: ")
        check(int(probe.answer().split()[0]) == SUCCESS, "sudo asks on the user's terminal")
        check(terminal.echoes(), "the terminal is as it was")
        check_authorized(probe, "terminal")
    terminal.close()
