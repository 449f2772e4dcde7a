#!/usr/bin/env python3
"""Checks the headers of all programs and libraries of a Windows package.

Usage: packaging/windows/check_headers.py LAYOUT_DIR

LAYOUT_DIR has what collect.sh makes. Prints each fault, and exits with 1 if there is one.
"""

import pathlib
import struct
import sys
import xml.etree.ElementTree

OURS = {"vinst.exe", "vinst_cli.exe", "vinst.dll"}
IMPORT, RESOURCE, RELOCATION, DELAY_IMPORT = 1, 2, 5, 13
VERSION_RESOURCE, MANIFEST_RESOURCE = 16, 24
FLAGS = {0x0040: "address randomization", 0x0020: "high-entropy addresses", 0x0100: "data execution prevention"}
SETTINGS = {
    "{http://schemas.microsoft.com/SMI/2005/WindowsSettings}dpiAware": "true/pm",
    "{http://schemas.microsoft.com/SMI/2016/WindowsSettings}dpiAwareness": "PerMonitor",
    "{http://schemas.microsoft.com/SMI/2016/WindowsSettings}longPathAware": "true",
    "{http://schemas.microsoft.com/SMI/2019/WindowsSettings}activeCodePage": "UTF-8",
}


class Image:
    """A 64-bit program or library."""

    def __init__(self, path):
        self.data = path.read_bytes()
        (pe,) = struct.unpack_from("<I", self.data, 60)
        if self.data[:2] != b"MZ" or self.data[pe:pe + 4] != b"PE\0\0":
            raise ValueError("is not a program")
        machine, sections, _, _, _, size, self.characteristics = struct.unpack_from("<HHIIIHH", self.data, pe + 4)
        optional = pe + 24
        (magic,) = struct.unpack_from("<H", self.data, optional)
        if machine != 0x8664 or magic != 0x20B:
            raise ValueError("is not for x86-64")
        self.subsystem_version = struct.unpack_from("<HH", self.data, optional + 48)
        (self.flags,) = struct.unpack_from("<H", self.data, optional + 70)
        (count,) = struct.unpack_from("<I", self.data, optional + 108)
        self.directories = [struct.unpack_from("<II", self.data, optional + 112 + 8 * i) for i in range(count)]
        self.sections = [struct.unpack_from("<IIII", self.data, optional + size + 40 * i + 8) for i in range(sections)]

    def offset(self, address):
        """Returns the place in the file of a relative virtual address."""
        for _, start, size, place in self.sections:
            if start <= address < start + size:
                return place + address - start
        raise ValueError(f"has the address {address:#x} in no section")

    def has(self, directory):
        return directory < len(self.directories) and self.directories[directory][1] > 0

    def text(self, address):
        place = self.offset(address)
        return self.data[place:self.data.index(b"\0", place)].decode("ascii")

    def imports(self):
        """Returns the names of the libraries that are loaded with this one."""
        if not self.has(IMPORT):
            return
        place = self.offset(self.directories[IMPORT][0])
        while True:
            entry = struct.unpack_from("<IIIII", self.data, place)
            if not any(entry):
                return
            yield self.text(entry[3])
            place += 20

    def resource(self, kind):
        """Returns the first resource of a kind, or None."""
        if not self.has(RESOURCE):
            return None
        root = self.offset(self.directories[RESOURCE][0])

        def entries(place):
            named, numbered = struct.unpack_from("<HH", self.data, place + 12)
            return [struct.unpack_from("<II", self.data, place + 16 + 8 * i) for i in range(named + numbered)]

        found = [target for name, target in entries(root) if name == kind]
        if not found:
            return None
        target = found[0]
        while target & 0x80000000:
            target = entries(root + (target & 0x7FFFFFFF))[0][1]
        address, size = struct.unpack_from("<II", self.data, root + target)
        place = self.offset(address)
        return self.data[place:place + size]


def manifest_faults(manifest):
    """Returns the faults of the application manifest of a program."""
    if manifest is None:
        yield "has no application manifest"
        return
    found = {element.tag: (element.text or "").strip() for element in xml.etree.ElementTree.fromstring(manifest).iter()}
    for tag, value in SETTINGS.items():
        if found.get(tag) != value:
            yield f"has no {tag.split('}')[1]} {value} in its application manifest"


def faults_of(path, packed, system):
    """Returns the faults of a file. packed and system are names of libraries in lower case."""
    image = Image(path)
    for flag, name in FLAGS.items():
        if not image.flags & flag:
            yield f"has no {name}"
    if image.characteristics & 1 or not image.has(RELOCATION):
        yield "has no relocations"
    if image.has(DELAY_IMPORT):
        yield "loads libraries with a delay, which is not checked"
    for name in image.imports():
        known = name.lower() in packed | system or name.lower().startswith(("api-ms-win-core-", "api-ms-win-crt-"))
        if not known:
            yield f"needs {name}, which is neither packed nor a part of Windows"
    if path.name not in OURS:
        return
    if image.subsystem_version < (6, 2):
        yield "doesn't have the subsystem version 6.2"
    if "ProductVersion".encode("utf-16-le") not in (image.resource(VERSION_RESOURCE) or b""):
        yield "has no version resource"
    if path.suffix == ".exe":
        yield from manifest_faults(image.resource(MANIFEST_RESOURCE))


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    files = sorted(path for path in pathlib.Path(sys.argv[1]).rglob("*") if path.suffix.lower() in (".exe", ".dll"))
    lines = (pathlib.Path(__file__).parent / "windows_dlls.txt").read_text().splitlines()
    system = {line.strip() for line in lines if line.strip() and not line.startswith("#")}
    # Windows finds only what is in the directory of the program.
    packed = {path.name.lower() for path in files if path.parent.name == "bin"}
    faults = [f"there is no {name}" for name in sorted(OURS - {path.name for path in files})]
    for path in files:
        try:
            faults += [f"{path.name}: {fault}" for fault in faults_of(path, packed, system)]
        except (ValueError, struct.error, IndexError, xml.etree.ElementTree.ParseError) as error:
            faults.append(f"{path.name}: {error}")
    for fault in faults:
        print(fault)
    sys.exit(1 if faults else 0)


main()
