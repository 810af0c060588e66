"""The file operations of the authorization session."""

import os
import pwd
import re

from actors import Probe
from stage import HELPER, check, eventually, read_file, running, start_bus


def files(passwords):
    """The file operations of the session, on items that belong to root."""
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
    check(os.stat(ground + "/new/inner").st_uid == 0, "what is made belongs to root")
    check(call("trash", "moved") and eventually(lambda: not there("moved")), "trash a file")
    check_trashed(ground + "/moved", "move")


def check_trashed(path, text):
    """The item still belongs to root; the rest of the Trash belongs to the user."""
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
    check(re.fullmatch(lines, read_file(record)), "the record has its path and the date")
    made = (home + "/.Trash", trash, trash + "/files", trash + "/info", record)
    check({os.lstat(each).st_uid for each in made} == {user}, "all that belongs to the user")
