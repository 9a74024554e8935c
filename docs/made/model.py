#!/usr/bin/env python3
"""Makes docs/datamodel-reference.md out of the model's lines (vcfg/model/*.def). With --check nothing is written: status 1,
and what differs, when the page is stale."""
import re
from pathlib import Path

import page

ROOT = Path(__file__).resolve().parents[2]
MODEL = ROOT / "vcfg/model"
PAGE = ROOT / "docs/datamodel-reference.md"

LINE = re.compile(r"^\s*RDM_(\w+)\((.*)\)\s*$")
ARGUMENT = re.compile(r'"([^"]*)"|([^,\s]+)')
NUMBERS = {"INT": "int", "UINT": "unsignedInt", "REPORTED_COUNT": "unsignedInt", "LONG": "long", "ULONG": "unsignedLong"}
TEXTS = {"IPV4": "IPv4Address", "IPV6": "IPv6Address", "IP": "IPAddress", "IPV6_PREFIX": "IPv6Prefix", "MAC": "MACAddress",
         "TIME": "dateTime"}
ACCESS = {"RW": "readWrite, configuration", "SECRET": "readWrite, configuration, secret", "LIVE": "readWrite, state",
          "RO": "readOnly, state", "KEPT": "readOnly, configuration"}

HEAD = """# Data-model reference

Made by `docs/made/model.py` from the model's lines (`vcfg/model/*.def`); change it there. What the columns mean is in
[datamodel.md](datamodel.md); `vcfgctl describe PATH` says the same of one name, and which hooks stand behind it.
"""


def lines():
    """(macro, arguments) of every line, in the order in which the model is put together."""
    for name in re.findall(r"#include <vcfg/model/(\w+\.def)>", (MODEL / "all.def").read_text()):
        whole = re.sub(r",\n\s*", ", ", (MODEL / name).read_text())
        for line in whole.splitlines():
            found = LINE.match(line)
            if found:
                yield found[1], [text or word for text, word in ARGUMENT.findall(found[2])]


def parameter(macro, arguments):
    values = ""
    if macro == "TEXT":
        name, size, access, *rest = arguments
        kind, default = f"string({size})", rest[0] if rest else ""
    elif macro == "ENUM":
        name, _, access, default, values = arguments
        kind = "enumeration"
    else:
        name, access, *rest = arguments
        kind = "boolean" if macro == "BOOL" else NUMBERS.get(macro) or TEXTS[macro]
        default = rest[0] if rest else ""
    if kind == "boolean":
        default = "true" if default in ("1", "true") else "false"
    takes = kind + (": " + values.replace(",", ", ") if values else "")
    return f"| `{name}` | {takes} | {ACCESS[access]} | {f'`{default}`' if default else ''} |"


def main():
    text = [HEAD]
    for macro, arguments in lines():
        if macro == "OBJECT":
            record, identifier, path = arguments
            text.append(f"\n## {path}\n\nRecord `{record}`, id `RDM_OID_{identifier}`.\n\n"
                        "| parameter | takes | access | default |\n|---|---|---|---|\n")
        else:
            text.append(parameter(macro, arguments) + "\n")
    page.write_or_check(PAGE, "".join(text))


main()
