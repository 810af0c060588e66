"""Where passwords must not be: in arguments, environments, logs and other files."""

import os
import subprocess

from actors import DENIED, SUCCESS, Probe
from checks import check_authorized
from stage import check
from watcher import Watcher, files_with

# Whatever is written to on the stage. /etc has the passwords' hashes.
FOLDERS = ["/etc", "/home", "/run", "/srv", "/tmp", "/var/lib/sudo", "/var/log", "/var/mail"]
SUDOERS = "/etc/sudoers.d/zz-case"


def parts_of(passwords):
    """Of each, the end that no terminal or shell changes, and no other text holds by accident."""
    return [word[-12:] for word in passwords.values()]


def check_secrets(launcher, passwords):
    words = parts_of(passwords)
    with Probe(launcher.client) as probe, Watcher(words) as watcher:
        status = launcher.start(probe, passwords)
        probe.execute("/bin/sleep", "0.05")
    check(status == SUCCESS and watcher.rounds > 5,
          f"all processes were watched ({watcher.rounds} times)")
    check(not watcher.found, f"no password is in arguments or an environment {watcher.found}")
    found = files_with(words, FOLDERS)
    check(not found, f"nor in a file {found}")


def check_searches():
    """What is searched for would be found."""
    word = "kx-not-a-secret"
    path = "/tmp/kx-control"
    with open(path, "w", encoding="ascii") as file:
        file.write(f"beside {word} beside")
    with Watcher([word]) as watcher:
        subprocess.run(["sleep", "0.2"], env={"PATH": "/bin:/usr/bin", "WORD": word}, check=True)
        subprocess.run(["sh", "-c", "sleep 0.2 # " + word], check=True)
    check(watcher.found == {"cmdline", "environ"} and files_with([word], FOLDERS) == [path],
          "what is searched for would be found")
    os.unlink(path)


def rules(*lines):
    with open(SUDOERS, "w", encoding="ascii") as file:
        file.write("".join(f"Defaults {line}\n" for line in lines))
    os.chmod(SUDOERS, 0o440)


def secrets(passwords):
    """sudo may write down all that it reads."""
    check_searches()
    rules("log_input", "log_output", "!compress_io", "iolog_dir=/var/log/kx-io",
          "logfile=/var/log/kx-sudo")
    with Probe("kxadmin") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "sudo takes all input over")
        check_authorized(probe, "written down")
    with Probe("kxfree") as probe:
        check(probe.status("credentials", "kxfree", passwords["kxfree"]) == SUCCESS,
              "and does so where it asks for no password")
        check_authorized(probe, "written down unasked")
    check(files_with(["quillmoor-rights-helper"], ["/var/log/kx-sudo"]) != [] and
          any(files for _, _, files in os.walk("/var/log/kx-io")), "it has written")
    found = files_with(parts_of(passwords), FOLDERS)
    check(not found, f"but no password {found}")
    rules("requiretty")
    with Probe("kxadmin") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == DENIED,
              "a sudo that demands a terminal refuses")
    os.unlink(SUDOERS)
