#!/usr/bin/env bats
# morvik-cimd as clients that are not our own see it, and what it answers to those that are not clients.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() { enterWorkDirectory; }
teardown() { stopServers; }

url=http://127.0.0.1:5988/root/kvasd
here=127.0.0.1:5988/root/kvasd

# --- an independent client ---

box=$url':Site_Box.Name="x"'
fresh=$url':Site_Box.Name="n"'

startSite() {
    cat >site.mof <<'END'
class Site_Base {
    [Key] string Name;
    string Text = "none";
    uint32 Number;
};
class Site_Own : Site_Box { string Own; };
class Site_Box : Site_Base {
    boolean On = true;
    uint16 States[];
    string Labels[];
    Site_Base ref Parent;
    datetime Since;
    real32 Load;
    sint8 Shift;
    char16 Mark;
    uint32 Open([In] string Who, [In] uint8 How[], [In] Site_Base ref Which);
};
class Site_Part { [Key] uint32 Id; string Text; };
instance of Site_Base { Name = "b"; };
instance of Site_Box {
    Name = "x"; Text = "a & <b>"; Number = 7; States = { 1, 2 }; Labels = { "l1", "l2" };
    Parent = "Site_Base.Name=\"b\""; Since = "20261121093000.000000+060"; Load = 1.5; Shift = -3;
    Mark = 'c';
};
instance of Site_Part { Id = 5; Text = "five"; };
END
    startCimd site.mof
}

# The operation ends well and prints these lines.
answers() { # EXPECTED OPERATION [ARG...]
    local expected=$1
    shift
    run wbemcli "$@"
    equal 0 "$status" "the status of $*: $output"
    equal "$expected" "$output" "the answer to $*"
}

# The operation fails with this CIM error. wbemcli ends with a status of its own choosing.
failsWith() { # NAME OPERATION [ARG...]
    local name=$1
    shift
    run wbemcli "$@"
    grep -qF "$name" <<<"$output" && return
    printf 'expected %s, got status %d and:\n%s\n' "$name" "$status" "$output" >&2
    return 1
}

@test "gc, gcd, ec, ecn: classes with what they inherit" {
    local all='Name=,Text=,Number=,On=,States=,Labels=,Parent=,Since=,Load=,Shift=,Mark='
    startSite
    answers "$here:site_BOX Text=,On=" gc "$url:site_BOX" Text,On
    answers "$here:Site_Box $all
$here:Site_Own $all,Own=" ec "$url:Site_Base"
    answers "$here:Site_Box
$here:Site_Own" ecn "$url:Site_Base"
    run wbemcli ecn "$url"
    equal "Site_Base Site_Box Site_Own Site_Part" \
        "$(cut -d : -f 3 <<<"$output" | sort | paste -sd ' ')" 'the list of classes'
    run -0 wbemcli gcd "$url:Site_Box"
    grep -qF '<PROPERTY.REFERENCE NAME="Parent" REFERENCECLASS="Site_Base">' <<<"$output"
    grep -qF '<PARAMETER.ARRAY NAME="How" TYPE="uint8">' <<<"$output"
}

@test "gi, ei, ein, gp: instances with values of every kind" {
    startSite
    answers "$here:Site_Box.Name=\"x\"
-Name=\"x\"
-Text=\"a & <b>\"
-Number=7
-On=true
-States=1,2
-Labels=\"l1\",\"l2\"
-Parent=Site_Base.Name=\"b\"
-Since=20261121093000.000000+060
-Load=1.5
-Shift=-3
-Mark=c" gi -nl "$box"
    run -0 wbemcli gi "$url:Site_Part.Id=0x5"
    grep -qF 'Id=5,Text="five"' <<<"$output"
    answers "$here:Site_Base.Name=\"b\" Number=
$here:Site_Box.Name=\"x\" Number=7" ei "$url:Site_Base" Number
    answers "$here:Site_Base.Name=\"b\"
$here:Site_Box.Name=\"x\"" ein "$url:Site_Base"
    answers '' ein "$url:Site_Own"
    answers 'Site_Base.Name="b"' gp "$box" Parent
}

@test "ci, mi, sp, di: an instance from its creation to its end" {
    startSite
    answers "$here:Site_Box.Name=\"n\"" ci "$fresh" \
        'Name="n",Number=12,States=4,5,Labels="p","q",Load=2.5,Shift=-1'
    answers '' mi "$fresh" 'Text="changed",Number=13,States=7'
    answers '' sp "$fresh" On=false
    answers "$here:Site_Box.Name=\"n\" Name=\"n\",Text=\"changed\",Number=13,On=false,States=7,Labels=\"p\",\"q\",Parent=,Since=,Load=2.5,Shift=-1,Mark=" \
        gi "$fresh"
    answers '' di "$fresh"
    failsWith CIM_ERR_NOT_FOUND di "$fresh"
}

@test "errors are CIM errors" {
    startSite
    failsWith CIM_ERR_INVALID_NAMESPACE gc http://127.0.0.1:5988/root/none:Site_Box
    failsWith CIM_ERR_INVALID_CLASS ei "$url:Site_None"
    failsWith CIM_ERR_ALREADY_EXISTS ci "$box" 'Name="x"'
    failsWith CIM_ERR_NO_SUCH_PROPERTY gp "$box" None
    failsWith CIM_ERR_NOT_SUPPORTED ain "$box"
    failsWith CIM_ERR_NOT_SUPPORTED cm "$box" 'Open.Who="me"'
    failsWith 'CIM_ERR_ACCESS_DENIED: declared by site.mof' mi "$box" 'Text="changed"'
}

@test "the namespaces, as independent clients look for them" {
    startMachine
    run -0 wbemcli ei -nl http://127.0.0.1:5988/interop:CIM_Namespace
    equal '-Name="interop"
-Name="root/kvasd"
-Name="root/PG_InterOp"' "$(grep '^-Name=' <<<"$output" | LC_ALL=C sort -f)" 'the namespaces'
    answers '127.0.0.1:5988/root:__Namespace.Name="kvasd"
127.0.0.1:5988/root:__Namespace.Name="PG_InterOp"' ein http://127.0.0.1:5988/root:__Namespace
    [[ -n ${MORVIK_WITH_CIM_SERVER-} ]] || skip 'no OpenPegasus client: MORVIK_WITH_CIM_SERVER is not set'
    local prefix
    prefix=$("$MORVIK_WITH_CIM_SERVER" --prefix)
    run -0 env LD_LIBRARY_PATH="$prefix/lib" "$prefix/bin/cimcli" ns -l 127.0.0.1:5988
    equal 'interop
root/kvasd
root/PG_InterOp' "$(LC_ALL=C sort -f <<<"$output")" 'what cimcli ns finds'
}

# --- recorded requests of a real server's client ---

@test "recorded requests get well-formed answers of the recorded meaning and length" {
    startCimd "$project/tests/data/fru/recorded.mof"
    local request name
    for request in "$project"/tests/data/traffic/*.request.http; do
        name=$(basename "$request" .request.http)
        "$python" "$support/cim_client.py" send "$request" >answer
        equal "$name: $("$python" "$support/cim_client.py" meaning "${request/.request./.response.}")" \
            "$name: $("$python" "$support/cim_client.py" meaning answer)" meaning
        sed '1,/^\r$/d' answer >body
        equal "$(wc -c <body)" "$(grep -ai '^content-length:' answer | tr -dc 0-9)" length
        [[ ! -s body ]] || "$python" -c 'import xml.dom.minidom; xml.dom.minidom.parse("body")'
    done
    [[ $name == 19-* ]] # all of them, not an empty list
}

# --- bad input ---

@test "bad requests: each gets its own refusal" {
    startMachine
    "$python" "$support/bad_requests.py" statuses >refused
    equal "$(sort "$project/tests/data/fru/refusals")" "$(sort refused)" 'the list of refusals'
    publishedAre <<<''
}

@test "every prefix of a request, and every damaged byte: the server goes on" {
    startMachine
    "$python" "$support/bad_requests.py" prefixes
    "$python" "$support/bad_requests.py" damages
    createAs Acme F1 1
    publishedNumbersAre F1
}
