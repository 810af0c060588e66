"""Folders that are never removed, put into the Trash or moved with rights. Nobody has rights here
and nobody gives any: nothing would come of it if the guard failed, but that somebody is asked."""

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
            check(probe.ask("session", "isAuthorized") == "NO", "no rights are held")
            check(agent.questions() == 0, "nobody was asked")
        check_asked_otherwise(probe, folders)


def check_refused(probe, folder):
    before = os.path.lexists(folder)
    for call, rest in CALLS.items():
        told = probe.ask("session", call, folder, *rest)
        check(told == "NO", f"{call} {folder} ({told})")
    check(probe.ask("files", "move", "yes", folder, GROUND + "/moved") == "NO",
          f"move {folder}, at first without rights")
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
                told = probe.ask("session", call, item, *CALLS[call])
                questions = agent.questions()
                check(told == "NO" and questions == 1,
                      f"{call} {item}: somebody is asked ({told}, {questions})")
    for call in ("trashContents", "moveContents"):
        with DismissingAgent(probe, "kxuser") as agent:
            check(probe.ask("session", call, path, *CALLS[call]) == "NO" and
                  agent.questions() == 1, f"{call} {path}: somebody is asked")
