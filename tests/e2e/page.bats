#!/usr/bin/env bats
# morvik-show --html: the page in a real browser, and how it is made.

# shellcheck source-path=SCRIPTDIR source=../support/show.bash
source "$BATS_TEST_DIRNAME/../support/show.bash"

# Runs checks of browser.py on page.html, which must find nothing wrong.
looks() { # CHECK[,CHECK...] [ARG...]
    { command -v chromedriver && "$python" -c 'import selenium'; } >/dev/null 2>&1 ||
        skip 'no Chromium here: scripts/setup browser'
    timeout 180 "$python" "$support/browser.py" "$1" page.html "${@:2}"
}

# Of 30 machines, of which one has an inventory of format 1, without a time.
makeFleetPage() {
    "$python" "$support/fleet.py" fleet 30
    "$python" - fleet/host-0007.json <<'END'
import json, pathlib, sys
file = pathlib.Path(sys.argv[1])
file.write_text(json.dumps({"format": 1, "entries": json.loads(file.read_text())["entries"]}))
END
    runShow --html fleet/*.json
    ends 0
    cp "$out" page.html
}

@test "several machines: sorted, searched, linked, quiet, and readable without scripts, in the dark and on paper" {
    makeFleetPage
    looks sort,search,links,noscript,quiet,colours,printed
}

@test "1,000 machines are a page of a few megabytes" {
    "$python" "$support/fleet.py" fleet 1000
    runShow --html fleet/*.json
    ends 0
    cp "$out" page.html
    (($(wc -c <page.html) < 5000000))
    equal 1000 "$(grep -c '<section class="machine"' page.html)" 'the drawings'
    looks milliseconds >&3
}

@test "hostile texts are shown as texts" {
    "$python" - <<'END'
import json
texts = ["<script>alert(1)</script>", "</script><script>alert(2)</script>", "</style>", "<!--", "]]>",
    "<img src=x onerror=alert(3)>", "\" onmouseover=\"alert(4)", "' onclick='alert(5)", "&lt;b&gt; &amp; &#60;",
    "\u202egnirts\u202c".replace("\u202c", ""), "\u2066x", "line\u2028separator\u2029", "\x00zero\x1b[31mred\x07",
    "<b><i>tags</i></b>", "x" * 65536, "日本語 Lüfter 😀", "javascript:alert(6)", "</title><title>t"]
entry = {"category": "FAN", "identifyingNumber": "KVAHalvoranFru1", "vendor": "KVA", "revisionLevel": "1.0",
    "publishedByMorvik": True, "problem": None}
part = {"locator": None, "bank": None, "sizeMiB": 1, "sizeBytes": 1048576, "comparedAs": "1", "speedMHz": None,
    "manufacturer": None, "partNumber": None, "serialNumber": None}
machine = {"manufacturer": texts[0], "model": texts[5], "machineType": texts[6], "serialNumber": texts[1],
    "languageCode": "", "lang": None, "processors": None,
    "memoryModules": [part | {"place": text, "type": text} for text in texts]}
def document(host):
    return {"format": 2, "program": "morvik-show", "version": "0", "time": "2026-11-22T00:00:00Z",
        "lastGoodRun": None, "machine": machine | {"hostName": host},
        "entries": [entry | {"fruNumber": text, "description": text} for text in texts]
        + [entry | {"fruNumber": "1", "description": None, "problem": text} for text in texts]
        + [entry | {"fruNumber": "1", "category": text, "vendor": text, "publishedByMorvik": False,
           "description": "x"} for text in texts]}
json.dump(texts, open("texts.json", "w"))
json.dump(document(texts[17]), open("hostile.json", "w"))
json.dump(document(texts[1]), open("other.json", "w"))
END
    runShow --html hostile.json
    ends 0
    cp "$out" page.html
    grep -qF '&quot; onmouseover=&quot;alert(4)' page.html
    # The search is of several machines: there, the texts must not break out of a link or cell either.
    runShow --html hostile.json other.json
    ends 0
    equal 1 "$(grep -c '<script>' "$out")" 'the scripts'
    equal 1 "$(grep -c '</script>' "$out")" 'the ends of scripts'
    looks hostile texts.json
}

@test "the policy of the page has the hashes of its script and style" {
    "$python" "$support/fleet.py" fleet 1
    runShow --html fleet/host-0001.json
    ends 0
    "$python" - "$out" <<'END'
import base64, hashlib, re, sys
page = open(sys.argv[1], encoding="utf-8", newline="").read()
for element in ("script", "style"):
    (text,) = re.findall(f"<{element}>(.*?)</{element}>", page, re.S)
    digest = base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()
    assert f"{element}-src 'sha256-{digest}'" in page, element
END
}

@test "without files it is a page of this machine" {
    startCimd "$schema/kvaxdt.mof" "$samples/server-1234.mof"
    importLines <"$samples/parts/1234wpk.txt"
    runShow --html
    ends 0
    grep -q '<title>server-1234</title>' "$out"
    grep -q '>A110003<' "$out"
    grep -q 'CPU0' "$out"
    stopServers
    runShow --html
    ends 2 'cannot connect to 127.0.0.1:5988: Connection refused'
    wrote ''
}

@test "an inventory that cannot be read: a message, status 2, and a page of the others" {
    "$python" "$support/fleet.py" fleet 1
    echo '{"format": 2' >damaged.json
    runShow --html fleet/host-0001.json damaged.json
    ends 2 'damaged.json: not JSON, or cut short'
    grep -q '<title>host-0001</title>' "$out"
    runShow --html damaged.json
    equal 2 "$status" status
    wrote ''
}
