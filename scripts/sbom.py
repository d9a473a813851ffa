#!/usr/bin/env python3
"""Prints the bill of materials of a source archive as SPDX 2.3 JSON, or checks one.

It has the archive, its files with their checksums, and the packages that debian/control builds with, in the
versions that this machine has.
"""
import argparse
import datetime
import hashlib
import json
import pathlib
import re
import subprocess
import sys

# Members that SPDX 2.3 wants, by what they belong to.
WANTED = {
    "document": ("spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace", "creationInfo"),
    "package": ("SPDXID", "name", "downloadLocation"),
    "file": ("SPDXID", "fileName", "checksums"),
    "relationship": ("spdxElementId", "relatedSpdxElement", "relationshipType"),
}
IDENTIFIER = re.compile(r"SPDXRef-[A-Za-z0-9.-]+")


def sums(content):
    return [{"algorithm": name.upper(), "checksumValue": hashlib.new(name, content).hexdigest()}
            for name in ("sha1", "sha256")]


def identifier(kind, name):
    return f"SPDXRef-{kind}-" + re.sub(r"[^A-Za-z0-9.-]", lambda found: f"-{ord(found[0]):x}-", name)


def files_of(tree):
    return sorted(path for path in tree.rglob("*") if path.is_file() and not path.is_symlink())


def verification_code(files):
    """As SPDX defines it: the sum of the sorted sums of all files."""
    all_sums = sorted(file["checksums"][0]["checksumValue"] for file in files)
    return hashlib.sha1("".join(all_sums).encode()).hexdigest()


def build_dependencies(tree):
    """The names of the packages, in their order."""
    field = re.search(r"^Build-Depends:((?:.|\n )*)", (tree / "debian/control").read_text(), re.M)[1]
    names = [re.match(r"\s*([a-z0-9.+-]+)", part)[1] for part in field.split(",") if part.strip()]
    # debhelper makes packages, not programs.
    return sorted({"g++", *(name for name in names if not name.startswith(("debhelper", "dh-")))})


def version_of(package):
    """None if it is not installed."""
    found = subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], capture_output=True, text=True,
                           check=False)
    return found.stdout.strip() or None


def dependency(name):
    version = version_of(name)
    if version is None:
        sys.exit(f"sbom: the build dependency {name} is not installed")
    return {"SPDXID": identifier("Package", name), "name": name, "versionInfo": version,
            "downloadLocation": "NOASSERTION", "filesAnalyzed": False, "licenseConcluded": "NOASSERTION",
            "licenseDeclared": "NOASSERTION", "copyrightText": "NOASSERTION",
            "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                              "referenceLocator": f"pkg:deb/debian/{name.replace('+', '%2B')}@"
                                                  f"{version.replace('+', '%2B').replace('~', '%7E')}"}]}


def make(options):
    content = options.archive.read_bytes()
    files = [{"SPDXID": identifier("File", str(path.relative_to(options.tree))),
              "fileName": f"./{path.relative_to(options.tree)}", "checksums": sums(path.read_bytes()),
              "licenseConcluded": "MIT", "copyrightText": "NOASSERTION"} for path in files_of(options.tree)]
    dependencies = [dependency(name) for name in build_dependencies(options.tree)]
    main = {"SPDXID": "SPDXRef-Package-morvik", "name": "morvik", "versionInfo": options.version,
            "packageFileName": options.archive.name, "downloadLocation": "NOASSERTION", "filesAnalyzed": True,
            "packageVerificationCode": {"packageVerificationCodeValue": verification_code(files)},
            "checksums": sums(content), "licenseConcluded": "MIT", "licenseDeclared": "MIT",
            "licenseInfoFromFiles": ["MIT"], "copyrightText": "Copyright (C) 2026 the morvik authors",
            "primaryPackagePurpose": "SOURCE"}
    relationships = [{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
                      "relatedSpdxElement": main["SPDXID"]}]
    relationships += [{"spdxElementId": main["SPDXID"], "relationshipType": "CONTAINS",
                       "relatedSpdxElement": file["SPDXID"]} for file in files]
    relationships += [{"spdxElementId": package["SPDXID"], "relationshipType": "BUILD_DEPENDENCY_OF",
                       "relatedSpdxElement": main["SPDXID"]} for package in dependencies]
    created = datetime.datetime.fromtimestamp(options.created, datetime.timezone.utc)
    return {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
            "name": f"morvik-{options.version}",
            "documentNamespace": f"https://morvik.example/spdx/morvik-{options.version}-"
                                 + hashlib.sha256(content).hexdigest(),
            "creationInfo": {"created": created.strftime("%Y-%m-%dT%H:%M:%SZ"),
                             "creators": ["Organization: the morvik authors", "Tool: scripts/sbom.py"]},
            "packages": [main, *dependencies], "files": files, "relationships": relationships}


def faults(document, tree):
    """Yields the errors of the document, in words."""
    parts = [("document", document), *(("package", each) for each in document.get("packages", ())),
             *(("file", each) for each in document.get("files", ())),
             *(("relationship", each) for each in document.get("relationships", ()))]
    for kind, part in parts:
        for name in WANTED[kind]:
            if name not in part:
                yield f"a {kind} has no {name}: {part}"
    identifiers = [part["SPDXID"] for _, part in parts if "SPDXID" in part]
    for each in identifiers:
        if not IDENTIFIER.fullmatch(each):
            yield f"invalid identifier {each}"
    if len(set(identifiers)) != len(identifiers):
        yield "duplicate identifiers"
    for each in document.get("relationships", ()):
        for end in ("spdxElementId", "relatedSpdxElement"):
            if each.get(end) not in identifiers:
                yield f"a relationship with an unknown end: {each}"
    expected = {f"./{path.relative_to(tree)}": sums(path.read_bytes()) for path in files_of(tree)}
    if expected != {file.get("fileName"): file.get("checksums") for file in document.get("files", ())}:
        yield "the files are not those of the archive"
    main = next(iter(document.get("packages", ())), {})
    if main.get("packageVerificationCode", {}).get("packageVerificationCodeValue") != \
            verification_code(document.get("files", ())):
        yield "the verification code is not that of the files"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--tree", type=pathlib.Path, required=True, help="the unpacked archive")
    parser.add_argument("--archive", type=pathlib.Path)
    parser.add_argument("--version")
    parser.add_argument("--created", type=int, help="in seconds since 1970")
    parser.add_argument("--check", type=pathlib.Path, metavar="DOCUMENT", help="check this document instead")
    options = parser.parse_args()
    if options.check:
        found = list(faults(json.loads(options.check.read_text()), options.tree))
        sys.exit("".join(f"sbom: {fault}\n" for fault in found) if found else 0)
    print(json.dumps(make(options), indent=1))


main()
