"""The groups of tests. Each is a function of the passwords, in a module of its subject."""

import cases_attacks
from cases_agents import agents
from cases_credentials import credentials
from cases_dialog import dialog
from cases_fallbacks import fallbacks
from cases_files import files
from cases_folders import folders
from cases_guard import guard
from cases_hidden import hidden
from cases_many import many
from cases_record import record
from cases_same_user import same_user
from cases_secrets import secrets
from cases_speed import speed
from cases_sudo import sudo
from cases_trash import trash
from cases_waiting import waiting

GROUPS = {"speed": speed, "credentials": credentials, "agents": agents, "dialog": dialog,
          "sudo": sudo, "waiting": waiting, "secrets": secrets, "hidden": hidden, "many": many,
          "files": files, "folders": folders, "fallbacks": fallbacks, "guard": guard,
          "record": record, "trash": trash, "same-user": same_user, **cases_attacks.GROUPS}
