"""What the tracked files of the repository must never carry: identifiers registered to a real
company (its OUI and the MAC addresses built on it) or the names of a real product's internals.
Documentation values stand in for them; the MIB modules are standards text and are left out."""

import re
import subprocess

import pytest

from conftest import REPO

# Written so that this file does not match itself.
FORBIDDEN = re.compile(r"0[02][:-]?1c[:-]?73|\bsys(?:db)\b", re.IGNORECASE)


def tracked_files():
    listed = subprocess.run(["git", "-C", str(REPO), "ls-files", "-z"], capture_output=True)
    if listed.returncode != 0:
        pytest.skip("not a git checkout: " + listed.stderr.decode(errors="replace").strip())
    for name in listed.stdout.decode().split("\0"):
        path = REPO / name
        if name and "mibs" not in path.relative_to(REPO).parts and path.is_file():
            yield path


def test_no_borrowed_identities_in_tracked_files():
    found = []
    for path in tracked_files():
        text = path.read_bytes().decode("utf-8", errors="replace")
        for number, line in enumerate(text.splitlines(), 1):
            if FORBIDDEN.search(line):
                found.append(f"{path.relative_to(REPO)}:{number}: {line.strip()[:100]}")
    assert not found, "borrowed identities:\n" + "\n".join(found)
