"""What the host writes for programs, checked against its schema."""
import functools
import json

import support
from support import HostTest, skip

try:
    import jsonschema
except ImportError:
    jsonschema = None


@functools.cache
def validator():
    schema = json.loads((support.ROOT / "docs" / "json.schema.json").read_text(encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    return jsonschema.Draft202012Validator(schema)


def objects_of(outcome):
    """The objects that a command wrote for programs, each as the schema says."""
    objects = [json.loads(line) for line in outcome.output.splitlines()]
    for item in objects:
        validator().validate(item)
    return objects


class JsonTest(HostTest):
    def setUp(self):
        super().setUp()
        if not jsonschema:
            skip(self, "there is no module jsonschema to check objects with")

    def json(self, code, command, side, *options):
        """The objects of a command that must end with an exit code."""
        return objects_of(self.assert_ends(code, command, side.settings, "--json", *options))
