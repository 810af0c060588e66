"""Folders that are never removed, trashed or moved with authorization. None is held or granted
here: if the guard failed, the only effect would be that the user is asked."""

import os

from actors import DismissingAgent, Probe
from stage import check, start_bus

GROUND = "/srv/ground"
CALLS = {"remove": [], "trash": [], "trashContents": [], "move": [GROUND + "/moved"],
         "moveContents": [GROUND]}


def guard(passwords):
    start_bus()
    os.mkdir(GROUND)
    with Probe("kxuser") as probe:
        folders = probe.ask("protected").split("\t")
        check({"/", "/home/kxuser", "/Users/Shared", "/Volumes"} < set(folders),
              f"there are {len(folders)} protected folders")
        with DismissingAgent(probe, "kxuser") as agent:
            for folder in folders:
                check_refused(probe, folder)
            check(probe.ask("session", "isAuthorized") == "NO", "no authorization is held")
            check(agent.questions() == 0, "the user was not asked")
        check_asked_otherwise(probe, folders)


def check_refused(probe, folder):
    before = os.path.lexists(folder)
    for call, rest in CALLS.items():
        result = probe.ask("session", call, folder, *rest)
        check(result == "NO", f"{call} {folder} ({result})")
    check(probe.ask("files", "move", "yes", folder, GROUND + "/moved") == "NO",
          f"move {folder}, at first without authorization")
    check(os.path.lexists(folder) == before and not os.listdir(GROUND), "nothing has changed")


def check_asked_otherwise(probe, folders):
    """The same calls, of what is in a protected folder or beside it."""
    path = GROUND + "/folder"
    os.makedirs(path + "/inner")
    os.makedirs("/home/kxuser/Documents/item", exist_ok=True)
    asked = [path, "/home/kxuser/Documents/item"] + \
        [folder + "/" for folder in folders if folder != "/" and os.path.isdir(folder)]
    for item in asked:
        for call in ("remove", "trash", "move"):
            with DismissingAgent(probe, "kxuser") as agent:
                result = probe.ask("session", call, item, *CALLS[call])
                questions = agent.questions()
                check(result == "NO" and questions == 1,
                      f"{call} {item}: the user is asked ({result}, {questions})")
    for call in ("trashContents", "moveContents"):
        with DismissingAgent(probe, "kxuser") as agent:
            check(probe.ask("session", call, path, *CALLS[call]) == "NO" and
                  agent.questions() == 1, f"{call} {path}: the user is asked")
