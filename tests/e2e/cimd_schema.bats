#!/usr/bin/env bats
# A standard command line client looks at classes and changes instances, with no special treatment.

# shellcheck source-path=SCRIPTDIR source=../support/e2e.bash
source "$BATS_TEST_DIRNAME/../support/e2e.bash"

setup() {
    enterWorkDirectory
    writeSite >site.mof
    startCimd site.mof
}
teardown() { stopServers; }

url=http://127.0.0.1:5988/root/kvasd
here=127.0.0.1:5988/root/kvasd
box=$url':Site_Box.Name="x"'
fresh=$url':Site_Box.Name="n"'

writeSite() {
    cat <<'END'
[Description("What all have.")] class Site_Base {
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
[Abstract] class Site_Kind { [Key] uint32 Id; };
class Site_Part : Site_Kind { string Text; };
instance of Site_Base { Name = "b"; };
instance of Site_Box {
    Name = "x"; Text = "a & <b>"; Number = 7; States = { 1, 2 }; Labels = { "l1", "l2" };
    Parent = "Site_Base.Name=\"b\""; Since = "20261121093000.000000+060"; Load = 1.5; Shift = -3;
    Mark = 'c';
};
instance of Site_Part { Id = 5; Text = "five"; };
END
}

# The operation ends well and prints these lines.
answers() { # EXPECTED OPERATION [ARG...]
    local expected=$1
    shift
    run wbemcli "$@"
    equal 0 "$status" "the status of $*: $output"
    equal "$expected" "$output" "the answer to $*"
}

# The operation fails with this CIM error.
failsWith() { # NAME OPERATION [ARG...]
    local name=$1
    shift
    run wbemcli "$@"
    grep -qF "$name" <<<"$output" && return
    printf 'expected %s, got status %d and:\n%s\n' "$name" "$status" "$output" >&2
    return 1
}

boxProperties='Name=,Text=,Number=,On=,States=,Labels=,Parent=,Since=,Load=,Shift=,Mark='

@test "gc: a class with what it inherits" {
    answers "$here:Site_Box $boxProperties" gc "$url:Site_Box"
    answers "$here:site_BOX Text=,On=" gc "$url:site_BOX" Text,On
    failsWith CIM_ERR_NOT_FOUND gc "$url:Site_None"
    failsWith CIM_ERR_INVALID_NAMESPACE gc http://127.0.0.1:5988/root/none:Site_Box
}

@test "gcd: the definition of a class" {
    run wbemcli gcd "$url:Site_Box"
    equal 0 "$status" status
    grep -qF '<CLASS NAME="Site_Box" SUPERCLASS="Site_Base">' <<<"$output"
    grep -qF '<PROPERTY.REFERENCE NAME="Parent" REFERENCECLASS="Site_Base">' <<<"$output"
    grep -qF '<METHOD NAME="Open" TYPE="uint32">' <<<"$output"
    grep -qF '<PARAMETER.ARRAY NAME="How" TYPE="uint8">' <<<"$output"
}

@test "ec: classes below a class, and all of them" {
    answers "$here:Site_Box $boxProperties
$here:Site_Own $boxProperties,Own=" ec "$url:Site_Base"
    run wbemcli ec "$url"
    equal 5 "$(grep -c "^$here:Site_" <<<"$output")" 'the number of classes'
    failsWith CIM_ERR_INVALID_CLASS ec "$url:Site_None"
}

@test "ecn: names of classes" {
    answers "$here:Site_Box
$here:Site_Own" ecn "$url:Site_Base"
    run wbemcli ecn "$url"
    equal "Site_Base Site_Box Site_Kind Site_Own Site_Part" \
        "$(cut -d : -f 3 <<<"$output" | sort | paste -sd ' ')" 'the list of classes'
    answers '' ecn "$url:Site_Own"
    failsWith CIM_ERR_INVALID_CLASS ecn "$url:Site_None"
}

@test "gi: an instance with values of every kind" {
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
    # Of a key that is a number, in any form.
    run wbemcli gi "$url:Site_Part.Id=0x5"
    grep -qF 'Id=5,Text="five"' <<<"$output"
    failsWith CIM_ERR_NOT_FOUND gi "$url:Site_Part.Id=6"
    failsWith CIM_ERR_INVALID_CLASS gi "$url:Site_None.Id=6"
}

@test "ei, ein: instances of a class and of those below it" {
    answers "$here:Site_Base.Name=\"b\"
$here:Site_Box.Name=\"x\"" ein "$url:Site_Base"
    answers '' ein "$url:Site_Own"
    run wbemcli ei "$url:Site_Base" Number
    equal 0 "$status" status
    equal "$here:Site_Base.Name=\"b\" Number=
$here:Site_Box.Name=\"x\" Number=7" "$output" 'the instances'
    failsWith CIM_ERR_INVALID_CLASS ei "$url:Site_None"
}

@test "ci: a new instance, with defaults for what is not given" {
    answers "$here:Site_Box.Name=\"n\"" ci "$fresh" \
        'Name="n",Number=12,States=4,5,Labels="p","q",Load=2.5,Shift=-1'
    answers "$here:Site_Box.Name=\"n\"
-Name=\"n\"
-Text=\"none\"
-Number=12
-On=true
-States=4,5
-Labels=\"p\",\"q\"
-Parent=
-Since=
-Load=2.5
-Shift=-1
-Mark=" gi -nl "$fresh"
    answers "$here:Site_Part.Id=6" ci "$url:Site_Part.Id=6" 'Id=6,Text="six"'
}

@test "ci: what the class does not allow" {
    failsWith CIM_ERR_ALREADY_EXISTS ci "$box" 'Name="x"'
    failsWith CIM_ERR_NOT_SUPPORTED ci "$url:Site_Kind.Id=7" Id=7
    failsWith CIM_ERR_INVALID_PARAMETER ci "$url:Site_Part.Id=8" 'Text="no key"'
    failsWith CIM_ERR_INVALID_PARAMETER ci "$url:Site_Part.Id=8" 'Id="eight"'
    answers "$here:Site_Part.Id=5" ein "$url:Site_Kind"
}

publishFresh() {
    answers "$here:Site_Box.Name=\"n\"" ci "$fresh" 'Name="n",Number=12,States=4,5,Labels="l1","l2"'
}

@test "mi: some properties change, the others stay" {
    publishFresh
    answers '' mi "$fresh" 'Text="changed",Number=13,States=7'
    run wbemcli gi "$fresh" Text,Number,States,Labels
    equal "$here:Site_Box.Name=\"n\" Text=\"changed\",Number=13,States=7,Labels=\"l1\",\"l2\"" \
        "$output" 'the instance'
    failsWith CIM_ERR_NOT_FOUND mi "$url:Site_Box.Name=\"y\"" 'Text="x"'
    failsWith CIM_ERR_INVALID_PARAMETER mi "$fresh" 'Name="other"'
}

@test "sp, gp: one property" {
    publishFresh
    answers '' sp "$fresh" 'Text="set and got"'
    answers 'set and got' gp "$fresh" Text
    answers '' sp "$fresh" Number=4294967295
    answers 4294967295 gp "$fresh" Number
    answers '' sp "$fresh" On=false
    answers false gp "$fresh" On
    answers 'Site_Base.Name="b"' gp "$box" Parent
    failsWith CIM_ERR_TYPE_MISMATCH sp "$fresh" 'Number="seven"'
    failsWith CIM_ERR_TYPE_MISMATCH sp "$fresh" Number=4294967296
    failsWith CIM_ERR_NO_SUCH_PROPERTY gp "$fresh" None
    failsWith CIM_ERR_NOT_FOUND gp "$url:Site_Box.Name=\"y\"" Text
    answers 4294967295 gp "$fresh" Number
}

@test "di: an instance and no other" {
    publishFresh
    answers '' di "$fresh"
    failsWith CIM_ERR_NOT_FOUND di "$fresh"
    answers "$here:Site_Base.Name=\"b\"
$here:Site_Box.Name=\"x\"" ein "$url:Site_Base"
}

@test "mi, sp, di: instances that a file declares are read-only" {
    local denied='CIM_ERR_ACCESS_DENIED: declared by site.mof'
    failsWith "$denied" mi "$box" 'Text="changed"'
    failsWith "$denied" sp "$box" 'Text="changed"'
    failsWith "$denied" di "$box"
    answers 'a & <b>' gp "$box" Text
    sed -i 's/a & <b>/changed/' site.mof
    kill -HUP "${servers[0]##*:}"
    until grep -q reloaded "$BATS_TEST_TMPDIR/cimd.log"; do sleep 0.01; done
    answers changed gp "$box" Text
}

@test "operations on the schema and along associations are not served" {
    failsWith CIM_ERR_NOT_SUPPORTED dc "$url:Site_Own"
    failsWith CIM_ERR_NOT_SUPPORTED ain "$box"
    failsWith CIM_ERR_NOT_SUPPORTED ri "$box"
    failsWith CIM_ERR_NOT_SUPPORTED cm "$box" 'Open.Who="me"'
    answers "$here:Site_Own" ecn "$url:Site_Box"
}
