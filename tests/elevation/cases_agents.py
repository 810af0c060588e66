"""The agent that answers polkit with a given password."""

import os

from actors import NOT_ALLOWED, SUCCESS, DismissingAgent, Probe
from stage import check, left_of, run, start_bus


def agents(passwords):
    start_bus()
    one_after_the_other(passwords["kxadmin"])
    failing_agents(passwords["kxadmin"])


def one_after_the_other(word):
    """polkit notices the end of an agent only a moment later."""
    with Probe("kxuser") as probe:
        statuses, left = set(), []
        for _ in range(20):
            statuses.add(probe.status("credentials", "kxadmin", word))
            left += left_of("pkttyagent")
        check(statuses == {SUCCESS}, f"rights, asked for over and over {statuses}")
        check(not left, f"the agent has ended when the answer comes ({len(left)} had not)")
    with Probe("kxuser") as probe, DismissingAgent(probe, "kxuser") as agent:
        check(probe.status("credentials", "kxadmin", word) == NOT_ALLOWED and
              agent.questions() == 0, "the client's own agent is not asked for a given password")


FAILING_AGENTS = {
    "is killed": "#!/bin/sh\nkill -9 $$\n",
    "cannot be loaded": "#!/bin/sh\necho 'error while loading shared libraries' >&2\nexit 127\n",
    "ends without a word": "#!/bin/sh\nexit 0\n"
}


def failing_agents(word):
    """Without an agent for the password, nobody else is asked instead."""
    for text, script in FAILING_AGENTS.items():
        with open("/srv/agent", "w", encoding="ascii") as file:
            file.write(script)
        os.chmod("/srv/agent", 0o755)
        run("mount", "--bind", "/srv/agent", "/usr/bin/pkttyagent")
        with Probe("kxuser") as probe, DismissingAgent(probe, "kxuser"):
            check(probe.status("credentials", "kxadmin", word) == NOT_ALLOWED,
                  f"an agent that {text}")
        run("umount", "/usr/bin/pkttyagent")
