"""The Trash of a user whose desktop's Trash belongs to root, as a program of the desktop
leaves it that was once run with sudo."""

import os
import re
import shutil

from actors import Probe
from stage import check, eventually, read_file, run, start_bus

GROUND = "/srv/ground"
HOME = "/home/kxuser"
LINK = HOME + "/.Trash"
DESKTOPS = HOME + "/.local/share/Trash"
MESSAGES = "/srv/messages"


def trash(passwords):
    start_bus()
    os.mkdir(GROUND)
    os.makedirs(DESKTOPS + "/files")
    os.makedirs(DESKTOPS + "/info")
    run("chown", "-R", "kxuser:", HOME + "/.local")
    run("chown", "-R", "root:", DESKTOPS)
    os.chmod(DESKTOPS, 0o700)
    with open(MESSAGES, "wb") as messages, Probe("kxuser", errors=messages) as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "the session starts")
        folder_of_the_users_own(probe)
        link_in_the_home(probe)
        link_out_of_the_home(probe)
        through_the_file_manager(probe)


def folder_of_the_users_own(probe):
    """Nothing is at ~/.Trash yet."""
    trashed(probe, "first", LINK)
    status = os.lstat(LINK)
    check(os.path.isdir(LINK) and not os.path.islink(LINK), "the home has a folder of that name")
    check(status.st_uid == os.lstat(HOME).st_uid and status.st_mode & 0o777 == 0o700,
          "which is the user's alone")
    check(not os.listdir(DESKTOPS + "/files"), "the desktop's Trash is left as it is")


def link_in_the_home(probe):
    """The user cannot see what is in there, so each name gets the date: none is replaced."""
    lead_to(".local/share/Trash/files")
    trashed(probe, "second", DESKTOPS + "/files", dated=True)
    with open(DESKTOPS + "/files/taken", "w", encoding="ascii") as file:
        file.write("kept")
    trashed(probe, "taken", DESKTOPS + "/files", dated=True)
    check(read_file(DESKTOPS + "/files/taken") == b"kept", "an item of that name stays")


def link_out_of_the_home(probe):
    os.mkdir(GROUND + "/outside")
    lead_to(GROUND + "/outside")
    path = item("third")
    check(probe.ask("session", "trash", path) == "NO", "no item is moved out of the home")
    check(was_logged(f"Unable to trash path {path} because the Trash {LINK} cannot be used."),
          "which is logged")
    check(os.path.lexists(path) and not os.listdir(GROUND + "/outside"), "nothing has changed")


def through_the_file_manager(probe):
    """The ordinary way is tried first, and finds the Trash closed."""
    lead_to(".local/share/Trash/files")
    path = item("fourth")
    check(probe.ask("files", "trash", "yes", path) == "YES", "the file manager falls back")
    check_moved(path, DESKTOPS + "/files", dated=True)


def lead_to(target):
    if os.path.islink(LINK):
        os.unlink(LINK)
    else:
        shutil.rmtree(LINK)
    os.symlink(target, LINK)


def item(name):
    path = f"{GROUND}/{name}"
    with open(path, "w", encoding="ascii") as file:
        file.write(name)
    return path


def trashed(probe, name, folder, dated=False):
    path = item(name)
    check(probe.ask("session", "trash", path) == "YES", f"{name}: the tool is started")
    moved = check_moved(path, folder, dated)
    check(was_logged(f"The desktop cannot restore {path} because its Trash has no record of "
               f"{LINK}/{moved}."), f"{name}: what the desktop cannot do is logged")


def check_moved(path, folder, dated):
    """Returns the item's name in the Trash."""
    name = os.path.basename(path)
    pattern = re.compile(re.escape(name) + (r"_\d{14}\." if dated else "") + "$")
    found = []

    def has_come():
        found[:] = [entry for entry in os.listdir(folder) if pattern.match(entry)]
        return found and not os.path.lexists(path)

    check(eventually(has_come), f"{name}: it is in the Trash")
    moved = f"{folder}/{found[0]}"
    check(len(found) == 1 and read_file(moved) == name.encode() and os.lstat(moved).st_uid == 0,
          f"{name}: with its contents and its owner")
    check(not os.listdir(DESKTOPS + "/info"), f"{name}: without a record")
    return found[0]


def was_logged(text):
    return any(line.endswith(text) for line in read_file(MESSAGES).decode().splitlines())
