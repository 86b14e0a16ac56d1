#!/usr/bin/env python3
"""Every JSON document of kvnsim.md is as its schema says. schemas.py FOLDER_OF_KVNSIM SOURCE

The commands of the page are run first: they leave the files that the documents are about. A document
is one of the lists of keys in the page, a table of show, or an error."""
import copy
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

try:
    from jsonschema import Draft202012Validator
except ImportError:
    print("python3-jsonschema is not installed")
    sys.exit(77)

BIN, SOURCE = sys.argv[1:]
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def read_schemas():
    folder = os.path.join(SOURCE, "schemas")
    schemas = {}
    for name in sorted(os.listdir(folder)):
        with open(os.path.join(folder, name), encoding="utf-8") as file:
            schemas[name] = json.load(file)
        Draft202012Validator.check_schema(schemas[name])
        check(schemas[name].get("$id") == name, f"{name}: its $id is another")
    return schemas


def with_definitions(schema, definitions):
    """The same without references to another file."""
    whole = json.loads(json.dumps(schema).replace("definitions.json#", "#"))
    return {**whole, "$defs": {**definitions["$defs"], **whole.get("$defs", {})}}


def open_objects(schema, path):
    """Places where a document could have a key that the schema does not know."""
    if isinstance(schema, dict):
        if "properties" in schema and schema.get("additionalProperties") is not False:
            yield path
        for key, value in schema.items():
            # Names of keys are no words of the schema.
            parts = value.values() if key in ("properties", "$defs") else [value]
            for part in parts:
                yield from open_objects(part, f"{path}/{key}")
    elif isinstance(schema, list):
        for i, value in enumerate(schema):
            yield from open_objects(value, f"{path}/{i}")


class Bench:
    def __init__(self, folder):
        self.folder = folder
        shutil.copytree(os.path.join(SOURCE, "examples"), os.path.join(folder, "examples"))

    def run(self, command):
        path = BIN + os.pathsep + os.environ["PATH"]
        return subprocess.run(["bash", "-c", command], cwd=self.folder, text=True, check=False,
                              stdin=subprocess.DEVNULL, capture_output=True,
                              env={**os.environ, "PATH": path}).stdout


def documents_of(page):
    """The commands of the page's documents, without --json."""
    for commands in re.findall(r"^<!-- json: (.*) -->$", page, re.MULTILINE):
        yield from commands.split(" | ")


def main():
    schemas = read_schemas()
    for name, schema in schemas.items():
        for place in open_objects(schema, name):
            check(False, f"{place}: additional properties are allowed")
    validators = {name: Draft202012Validator(with_definitions(schema, schemas["definitions.json"]))
                  for name, schema in schemas.items()}
    with open(os.path.join(SOURCE, "docs/kvnsim.md"), encoding="utf-8") as file:
        page = file.read()
    seen = {"definitions.json"}

    def validate(command, name, text):
        seen.add(name)
        try:
            document = json.loads(text)
        except ValueError:
            check(False, f"kvnsim {command}: no document, but {text!r}")
            return
        for error in validators[name].iter_errors(document):
            check(False, f"{command}: {name}: {error.json_path}: {error.message}")
        more = copy.deepcopy(document)
        more["another_key"] = 1
        check(not validators[name].is_valid(more), f"{name}: takes a key that it does not know")

    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(folder)
        for command in re.findall(r"^\$ (.*)$", page, re.MULTILINE):
            bench.run(command)
        bench.run("kvnsim run examples/leaf.json --quiet --events leaf.events")
        tables = re.search(r"^ *TABLE +(.*(\n {4,}.*)*)", bench.run("kvnsim show --help"),
                           re.MULTILINE)[1].replace("\n", " ")
        shown = []
        for table in re.split(r",\s*", tables):
            of = " PortChannel0001" if table == "attributes" else ""
            shown += [f"show {table}{of} {file}" for file in ("leaf.db", "broken.db")]
        check(len(shown) >= 16, f"kvnsim show --help lists hardly a table: {tables}")
        for command in [*documents_of(page), *shown]:
            verb = command.split()[0]
            validate(command, verb + ".json", bench.run(f"kvnsim {command} --json"))
        for paths in ("examples", "--keep-going --limit intf=9 examples nowhere.json", "--check examples"):
            command = f"fleet {paths} --format sarif"
            validate(command, "fleet-sarif.json", bench.run(f"kvnsim {command}"))
        for command in ("audit none.db", "show nothing leaf.db", "replay none.jsonl"):
            validate(command, "error.json", bench.run(f"kvnsim {command} --json"))
    check(seen == set(schemas), f"documents and schemas differ: {seen ^ set(schemas)}")


main()
for failure in failures:
    print(failure, file=sys.stderr)
sys.exit(1 if failures else 0)
