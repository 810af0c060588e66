"""Tools for a client whose working folder is closed to root, or to the client itself."""

import os
import shutil

from actors import SUCCESS, Probe
from stage import check, run, run_as, skip

SOURCE, MOUNT, CLOSED, OPEN = "/srv/source", "/srv/mount", "/srv/closed", "/srv/open"


def folders(passwords):
    if shutil.which("bindfs") is None:
        skip("bindfs is not installed")
    if not os.path.exists("/dev/fuse"):
        skip("no FUSE file system can be mounted here")
    prepare()
    with Probe("kxadmin") as probe:
        check(probe.status("credentials", "kxadmin", passwords["kxadmin"]) == SUCCESS,
              "authorization is granted")
        enter(probe, OPEN)
        check(output(probe, "/bin/pwd") == OPEN + "\n", "tools have the client's working folder")
        enter(probe, MOUNT)
        check_empty_folder(probe, "a FUSE file system")
        enter(probe, CLOSED)
        os.chmod(CLOSED, 0o700)
        check_empty_folder(probe, "a folder that the client may no longer enter")
        check(os.listdir(CLOSED) == ["tmp"], "nothing is made in that folder")
        enter(probe, OPEN)
        check(output(probe, "/bin/pwd") == OPEN + "\n", "the next tool has its folder again")
    run_as("kxadmin", "fusermount", "-u", MOUNT)


def prepare():
    for folder in (SOURCE, MOUNT, CLOSED, OPEN):
        os.makedirs(folder + ("" if folder == MOUNT else "/tmp"))
    for folder in (SOURCE, MOUNT):
        run("chown", "-R", "kxadmin", folder)
    mounted = run_as("kxadmin", "bindfs", "--no-allow-other", SOURCE, MOUNT)
    check(mounted.returncode == 0, "the user mounts a FUSE file system " + mounted.stdout)
    try:
        os.chdir(MOUNT)
        check(False, "root may not enter it")
        os.chdir("/")
    except PermissionError:
        check(True, "root may not enter it")


def enter(probe, folder):
    check(probe.status("enter", folder) == 0, "the client enters " + folder)


def output(probe, *command):
    status, text = probe.execute(*command)
    return text if status == SUCCESS else f"failed: {status}"


def check_empty_folder(probe, text):
    """Relative paths lead nowhere, neither into the root folder."""
    check(output(probe, "/bin/ls", "-A") == "", text + ": the tool's folder is empty")
    check(output(probe, "/usr/bin/stat", "-c", "%u %a", ".") == "0 700\n",
          text + ": it is root's own")
    check(output(probe, "/bin/sh", "-c", "/bin/mkdir made 2>/dev/null || echo no") == "no\n",
          text + ": nothing can be made in it")
    kept = "/tmp/kept"
    os.makedirs(kept, exist_ok=True)
    for path in ("tmp", "../tmp", "../../../tmp"):
        check(output(probe, "/bin/rm", "-Rdf", path) == "" and os.path.isdir(kept),
              f"{text}: {path} does not lead to the root folder")
    check(os.path.isdir(SOURCE + "/tmp"), text + ": nor into the client's folder")
    check(output(probe, "/bin/mkdir", "-p", f"/srv/made/{len(text)}") == "" and
          os.path.isdir(f"/srv/made/{len(text)}"), text + ": an absolute path is as ever")
