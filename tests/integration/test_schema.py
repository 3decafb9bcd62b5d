"""The JSON Schema in docs/ that operators validate their state files with: it takes every
example the project ships and refuses what the daemon refuses for its shape (unknown keys,
missing required keys, values of the wrong kind)."""

import copy
import json
import re

import pytest

from conftest import REPO, example_state

jsonschema = pytest.importorskip("jsonschema")

SCHEMA = json.loads((REPO / "docs" / "state-schema.json").read_text())


def examples():
    for path in sorted((REPO / "examples").glob("*.json")):
        yield path.name, json.loads(path.read_text())
    doc = (REPO / "docs" / "state-format.md").read_text()
    for i, block in enumerate(re.findall(r"```json\n(.*?)```", doc, re.S)):
        yield f"state-format.md example {i}", json.loads(block)


def errors(state):
    validator = jsonschema.Draft7Validator(SCHEMA)
    return [e.message for e in validator.iter_errors(state)]


def test_the_schema_is_a_valid_draft7_schema():
    jsonschema.Draft7Validator.check_schema(SCHEMA)


@pytest.mark.parametrize("name,state", list(examples()))
def test_every_shipped_example_is_accepted(name, state):
    assert errors(state) == [], name


def test_unknown_keys_missing_keys_and_wrong_kinds_are_refused():
    state = example_state()
    neighbour = lambda doc: doc["interfaces"][0]["neighbors"][0]  # noqa: E731
    changes = [
        lambda d: d.update(stray=1),
        lambda d: d["localSystem"].update(sysname="typo"),
        lambda d: neighbour(d).update(chassisID="x"),
        lambda d: neighbour(d).setdefault("dot3", {}).update(mtu=1),
        lambda d: d["localSystem"].pop("chassisId"),
        lambda d: d["interfaces"][0].update(portNum=4095),
        lambda d: d["config"].update(txDelay="2"),
        lambda d: d["localSystem"].update(sysCapEnabled=["switch"]),
        lambda d: d["localSystem"].update(sysDesc={"hex": "0g"}),
    ]
    for i, change in enumerate(changes):
        doc = copy.deepcopy(state)
        change(doc)
        assert errors(doc), i
