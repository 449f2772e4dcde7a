#!/usr/bin/env python3
"""Checks the manifests for winget and Chocolatey that store_manifests.sh makes.

Usage: packaging/windows/check_store_manifests.py DIR

Prints each fault, and exits with 1 if there is one.
"""

import json
import pathlib
import re
import subprocess
import sys

import jsonschema
import yaml


def winget_faults(directory, schemas):
    """Returns the faults of the manifests for winget."""
    schema = json.loads((schemas / "winget/schema.json").read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    kinds = set()
    for path in sorted(directory.glob("*.yaml")):
        manifest = yaml.safe_load(path.read_text())
        kind = manifest.get("ManifestType") if isinstance(manifest, dict) else None
        if kind not in ("version", "defaultLocale", "installer"):
            yield f"{path}: the ManifestType is {kind}"
            continue
        kinds.add(kind)
        part = {"$ref": f"#/definitions/{kind}", "definitions": schema["definitions"]}
        for error in jsonschema.Draft7Validator(part).iter_errors(manifest):
            place = "/".join(str(step) for step in error.absolute_path)
            yield f"{path}: {place}: {error.message}"
    for kind in {"version", "defaultLocale", "installer"} - kinds:
        yield f"{directory}: there is no manifest with the type {kind}"


def chocolatey_faults(directory, schemas):
    """Returns the faults of the package for Chocolatey."""
    files = sorted(directory.glob("*.nuspec"))
    if len(files) != 1:
        yield f"{directory}: there are {len(files)} .nuspec files"
    for path in files:
        result = subprocess.run(
            ["xmllint", "--nonet", "--noout", "--schema", schemas / "chocolatey/schema.xsd", path],
            capture_output=True, text=True, check=False)
        if result.returncode != 0:
            yield result.stderr.strip()
    install = directory / "tools/chocolateyinstall.ps1"
    text = install.read_text() if install.is_file() else ""
    for pattern in (r"url64bit += 'https://[^'@ ]+'", r"checksum64 +=  ?'[A-F0-9]{64}'"):
        if not re.search(pattern, text):
            yield f"{install}: nothing matches {pattern}"
    if not (directory / "tools/chocolateyuninstall.ps1").is_file():
        yield f"{directory}: there is no tools/chocolateyuninstall.ps1"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    directory = pathlib.Path(sys.argv[1])
    schemas = pathlib.Path(__file__).resolve().parent
    faults = [*winget_faults(directory / "winget", schemas),
              *chocolatey_faults(directory / "chocolatey", schemas)]
    for fault in faults:
        print(fault)
    sys.exit(1 if faults else 0)


main()
