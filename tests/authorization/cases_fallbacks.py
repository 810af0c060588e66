"""The file operations of an ordinary process that is authorized, on root's items in
folders where the user may not write."""

import array
import fcntl
import os
import shutil
import stat
import time

from actors import Probe
from stage import check, eventually, read_file, start_bus

GROUND = "/srv/ground"
TRASH = "/home/kxuser/.local/share/Trash/files"
LONG_AGO = 1_000_000_000
GET_FLAGS = 0x80086601  # FS_IOC_GETFLAGS


def fallbacks(passwords):
    start_bus()
    os.mkdir(GROUND)
    with Probe("kxuser") as probe:
        check(probe.ask("session", "startWithUser", "kxadmin", passwords["kxadmin"]) == "YES",
              "the session starts")
        for work in (removing, trashing, creating, copying, moving, touching, packing):
            work(probe)
        unchanged(probe, REFUSED, "without being allowed to use the session")
        unchanged(probe, WITHOUT_AUTHORIZATION, "which never uses the session")
        probe.ask("session", "end")
        unchanged(probe, UNASKED, "when authorization is refused")
        check(probe.ask("session", "isAuthorized") == "NO", "no authorization is held then")


class Ground:
    """Items of root's, made again for each case."""

    count = 0

    def __init__(self):
        Ground.count += 1
        # Names that nothing else in the Trash has.
        self.name = f"file{Ground.count}"
        self.path = f"{GROUND}/{Ground.count}"
        os.makedirs(self.at("folder/inner"))
        os.makedirs(self.at("empty/inner"))
        os.makedirs(self.at("other"))
        for name in (self.name, "folder/inner/deep", "folder/.hidden", "folder/clip.MOV",
                     "empty/.DS_Store", "taken"):
            with open(self.at(name), "w", encoding="ascii") as file:
                file.write(name)
        os.chmod(self.at(self.name), 0o640)
        for name in (self.name, "folder/inner/deep", "folder/.hidden", "folder/clip.MOV"):
            os.utime(self.at(name), (LONG_AGO, LONG_AGO))
        os.chmod(self.at(self.name), 0o644)

    def at(self, name):
        return f"{self.path}/{name}"

    def there(self, name):
        return os.path.lexists(self.at(name))

    def holds(self, name, text):
        return self.there(name) and read_file(self.at(name)) == text.encode()


def tree(path):
    """All that an operation could change below a folder."""
    found = {}
    for folder, folders, files in os.walk(path):
        for item in [folder] + [os.path.join(folder, name) for name in folders + files]:
            status = os.lstat(item)
            found[item] = (status.st_ino, status.st_mode, status.st_uid, status.st_size,
                           status.st_mtime_ns, tuple(os.listxattr(item, follow_symlinks=False)),
                           flags(item))
    return found


def flags(item):
    """The attributes that make an item immutable, among others."""
    descriptor = os.open(item, os.O_RDONLY | os.O_NONBLOCK)
    try:
        number = array.array("l", [0])
        fcntl.ioctl(descriptor, GET_FLAGS, number)
        return number[0]
    except OSError:
        return None
    finally:
        os.close(descriptor)


def succeeds(probe, forms, words, effect, expected="YES"):
    """Each form of an operation, on a ground of its own. The form with a time-out has waited; after
    the others the tool may still run."""
    for form in forms:
        ground = Ground()
        operation, *paths = words(ground)
        result = probe.ask("files", operation, form, *paths)
        wanted = expected(ground) if callable(expected) else expected
        arrived = effect(ground) if form == "timeout" else eventually(lambda: effect(ground))
        check(result == wanted and arrived,
              f"{operation} ({form}) of {os.path.basename(paths[0])}: {result}, " +
              ("done" if arrived else "NOT done"))


FORMS = ("short", "yes", "timeout")


def removing(probe):
    succeeds(probe, FORMS, lambda g: ("remove", g.at(g.name)),
             lambda g: not g.there(g.name) and g.holds("taken", "taken"))
    succeeds(probe, FORMS, lambda g: ("remove", g.at("folder")),
             lambda g: not g.there("folder") and g.there("empty"))
    succeeds(probe, ["short"], lambda g: ("removeIfEmpty", g.at("empty")),
             lambda g: not g.there("empty") and g.there("folder"))
    succeeds(probe, ["short"], lambda g: ("removeIfEmpty", g.at("folder")),
             lambda g: g.holds("folder/inner/deep", "folder/inner/deep"), "NO")


def trashing(probe):
    succeeds(probe, FORMS, lambda g: ("trash", g.at(g.name)),
             lambda g: not g.there(g.name) and os.path.exists(f"{TRASH}/{g.name}"))

    def name_folder(ground):
        """Under a name of its own."""
        os.rename(ground.at("folder"), ground.at("folder" + ground.name))
        return ("trash", ground.at("folder" + ground.name))

    succeeds(probe, FORMS, name_folder,
             lambda g: not g.there("folder" + g.name) and
             os.path.exists(f"{TRASH}/folder{g.name}/inner/deep"))
    succeeds(probe, ("short", "yes"), lambda g: ("trashContents", g.at("folder")),
             lambda g: os.path.isdir(g.at("folder")) and not os.listdir(g.at("folder")))
    succeeds(probe, ["short"], lambda g: ("trashType", g.at("folder"), "mov"),
             lambda g: not g.there("folder/clip.MOV") and g.there("folder/inner/deep"),
             lambda g: g.at("folder/clip.MOV"))
    succeeds(probe, ["short"], lambda g: ("trashNamed", g.at("folder"), "deep"),
             lambda g: not g.there("folder/inner/deep") and g.there("folder/clip.MOV"),
             lambda g: g.at("folder/inner/deep"))


def is_own_folder(path):
    return os.path.isdir(path) and os.stat(path).st_uid == 0


def creating(probe):
    succeeds(probe, FORMS, lambda g: ("create", g.at("new/deep")),
             lambda g: is_own_folder(g.at("new/deep")))
    succeeds(probe, ["short"], lambda g: ("createStructure", g.at("folder/inner"), g.at("mirror")),
             lambda g: is_own_folder(g.at("mirror") + g.at("folder/inner")),
             lambda g: g.at("mirror") + g.at("folder/inner"))
    succeeds(probe, ["short"], lambda g: ("createFile", g.at("new")), lambda g: g.holds("new", ""))
    succeeds(probe, ["short"], lambda g: ("copyWithProgress", g.at(g.name), g.at("new/copy")),
             lambda g: is_own_folder(g.at("new")))


def copying(probe):
    def copied(ground, name):
        return (ground.holds(name, ground.name) and ground.holds(ground.name, ground.name) and
                os.stat(ground.at(name)).st_uid == 0 and
                int(os.stat(ground.at(name)).st_mtime) == LONG_AGO)

    succeeds(probe, ("short", "yes"), lambda g: ("copy", g.at(g.name), g.at("copy")),
             lambda g: copied(g, "copy"))
    # It has waited for the copy to be there, not to be complete.
    succeeds(probe, ["timeout"], lambda g: ("copy", g.at(g.name), g.at("copy")),
             lambda g: g.there("copy") and eventually(lambda: copied(g, "copy")))
    succeeds(probe, ("short", "yes"), lambda g: ("copy", g.at(g.name), g.at("taken")),
             lambda g: copied(g, "taken"))
    succeeds(probe, ("short", "yes"), lambda g: ("copy", g.at("folder"), g.at("copy")),
             lambda g: g.holds("copy/inner/deep", "folder/inner/deep") and g.there("copy/.hidden"))
    succeeds(probe, ["timeout"], lambda g: ("copyContents", g.at("folder"), g.at("other")),
             lambda g: set(os.listdir(g.at("other"))) == {"inner", ".hidden", "clip.MOV"} and
             eventually(lambda: g.holds("other/inner/deep", "folder/inner/deep")))


def moving(probe):
    for target in ("moved", "taken"):
        succeeds(probe, FORMS, lambda g, target=target: ("move", g.at(g.name), g.at(target)),
                 lambda g, target=target: g.holds(target, g.name) and not g.there(g.name))
    succeeds(probe, FORMS, lambda g: ("move", g.at("folder"), g.at("moved")),
             lambda g: g.holds("moved/inner/deep", "folder/inner/deep") and not g.there("folder"))


def touching(probe):
    for form in ("short", "created"):
        succeeds(probe, [form], lambda g: ("touch", g.at(g.name)),
                 lambda g: os.stat(g.at(g.name)).st_mtime > time.time() - 60 and
                 g.holds(g.name, g.name))
    succeeds(probe, ["short"], lambda g: ("touch", g.at("missing")),
             lambda g: not g.there("missing"))


def packing(probe):
    """Every user may add items to the folder, and only owners may remove theirs."""
    ground = Ground()
    os.chmod(ground.path, 0o777 | stat.S_ISVTX)
    archive = ground.at(ground.name)
    probe.ask("files", "compress", "short", ground.at("folder"), archive)
    check(eventually(lambda: os.path.exists(f"{TRASH}/{ground.name}")),
          "an item in an archive's place is moved to the Trash by the session")
    before = tree(ground.at("folder"))
    probe.ask("files", "decompress", "short", archive, ground.at("folder"))
    check({path: entry[:4] for path, entry in tree(ground.at("folder")).items()} ==
          {path: entry[:4] for path, entry in before.items()},
          "an item in a folder's place is not moved by the session")


# Operation, form and paths, which are names on the ground; FILE is the ground's own file.
FILE = "FILE"
REFUSED = [(operation, "no", *paths) for operation, *paths in
           [("remove", FILE), ("remove", "folder"), ("trash", FILE), ("trash", "folder"),
            ("trashContents", "folder"), ("create", "new/deep"), ("copy", FILE, "copy"),
            ("copy", FILE, "taken"), ("copy", "folder", "copy"), ("move", FILE, "moved"),
            ("move", FILE, "taken"), ("move", "folder", "moved")]]
UNASKED = [(operation, form, *paths) for operation, _, *paths in REFUSED for form in FORMS
           if (operation, form) != ("trashContents", "timeout")] + \
    [("removeIfEmpty", "short", "empty"), ("createFile", "short", "new"),
     ("copyContents", "timeout", "folder", "other"), ("touch", "short", FILE),
     ("touch", "created", FILE), ("touch", "short", "missing"),
     ("copyWithProgress", "short", FILE, "new/copy")]
WITHOUT_AUTHORIZATION = [("date", "short", FILE)] + \
    [(operation, "short", path) for operation in ("lock", "unlock", "mode", "label")
     for path in (FILE, "folder")] + \
    [(operation, "short", "folder") for operation in ("lockFolder", "unlockFolder")]


def unchanged(probe, calls, text):
    """Each of them is refused, and leaves all as it was, also a while later."""
    shutil.rmtree(GROUND)
    ground = Ground()
    before, trash = tree(GROUND), tree(TRASH)
    for operation, form, *names in calls:
        paths = [ground.at(ground.name if name == FILE else name) for name in names]
        result = probe.ask("files", operation, form, *paths)
        check(result in ("NO", "done") and tree(GROUND) == before,
              f"{operation} ({form}) of {' to '.join(names)}, {text}: {result}")
    time.sleep(0.2)
    check(tree(GROUND) == before and tree(TRASH) == trash, f"nothing has changed, {text}")
