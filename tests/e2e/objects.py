"""What the host writes for programs, checked against its schema."""
import functools
import json

import support
from support import HostTest, skip

try:
    import jsonschema
except ImportError:
    jsonschema = None


def closed(schema):
    """A part of the schema without what it leaves to later versions."""
    if isinstance(schema, list):
        return [closed(part) for part in schema if part != {"$ref": "#/$defs/later"}]
    if not isinstance(schema, dict):
        return schema
    schema = {name: closed(part) for name, part in schema.items()}
    if "properties" in schema:
        schema["additionalProperties"] = False
    if "examples" in schema:
        schema["enum"] = schema["examples"]
    return schema


@functools.cache
def validators():
    """That for programs, which know later versions, too, and that of this version."""
    schema = json.loads((support.ROOT / "docs" / "json.schema.json").read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    return [jsonschema.Draft202012Validator(each) for each in (schema, closed(schema))]


def objects_of(outcome):
    """The objects that a command wrote for programs, each as the schema says, and as a later version could write it."""
    objects = [json.loads(line) for line in outcome.output.splitlines()]
    of_programs, of_this_version = validators()
    for item in objects:
        of_this_version.validate(item)
        later = {name: "new" for name in ("direction", "state", "result", "place", "check") if name in item}
        of_programs.validate(item | later | {"added": 1})
        of_programs.validate(item | {"type": "new"})
    return objects


class JsonTest(HostTest):
    def setUp(self):
        super().setUp()
        if not jsonschema:
            skip(self, "there is no module jsonschema to check objects with")

    def json(self, code, command, side, *options):
        """The objects of a command that must end with an exit code."""
        return objects_of(self.assert_ends(code, command, side.settings, "--json", *options))
