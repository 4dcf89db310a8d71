#!/usr/bin/env python3
"""Real clients of the daemon: ncclient through an sshd of the test's own, and bare messages over the UNIX socket."""

import argparse
import pathlib
import re
import sys
import tempfile
import time
import unittest

from lxml import etree
from ncclient import manager
from ncclient.operations import RPCError
from ncclient.transport import ssh

import netconf_peer

BUILD = pathlib.Path(__file__).resolve().parent.parent / "build"
NI = "http://openconfig.net/yang/network-instance"
TYPES = "http://openconfig.net/yang/policy-types"
MONITORING = "urn:ietf:params:xml:ns:yang:ietf-netconf-monitoring"
LIBRARY = "urn:ietf:params:xml:ns:yang:ietf-yang-library"


def document(bgp):
    """A configuration with this below BGP; the prefix nc is NETCONF's."""
    return (f'<config xmlns="{netconf_peer.BASE}" xmlns:nc="{netconf_peer.BASE}"><network-instances xmlns="{NI}">'
            f'<network-instance><name>DEFAULT</name><protocols><protocol><identifier xmlns:t="{TYPES}">t:BGP</identifier>'
            f"<name>core</name><bgp>{bgp}</bgp></protocol></protocols></network-instance></network-instances></config>")


def neighbor(number, leaves, operation=""):
    """192.0.2.NUMBER with these leaves; an operation is the entry's."""
    operation = operation and f' nc:operation="{operation}"'
    return (f"<neighbors><neighbor{operation}><neighbor-address>192.0.2.{number}</neighbor-address><config>{leaves}"
            "</config></neighbor></neighbors>")


def description(text, operation="merge"):
    return f'<description nc:operation="{operation}">{text}</description>'


GLOBAL = "<global><config><as>65000</as></config></global>"
TWO = GLOBAL + "<neighbors>" + "".join(
    f"<neighbor><neighbor-address>192.0.2.{i}</neighbor-address><config><neighbor-address>192.0.2.{i}</neighbor-address>"
    f"<peer-as>6500{i}</peer-as><description>the {i}</description><auth-password>pass {i}</auth-password></config>"
    "</neighbor>"
    for i in (1, 2)) + "</neighbors>"


def leaves_of(text, below):
    """"name=value" of the leaves below the first element of a name, in their order."""
    tops = etree.fromstring(text.encode()).xpath(f"(//*[local-name()='{below}'])[1]//*[not(*)]")
    return [f"{etree.QName(leaf).localname}={leaf.text or ''}" for leaf in tops]


def bgp_filter(inner):
    return re.sub("^<config[^>]*>|</config>$", "", document(f"<neighbors>{inner}</neighbors>")).replace(
        "<name>core</name>", "").replace("<name>DEFAULT</name>", "")


def element(text, *around):
    """For ncclient: as it is, or with elements of NETCONF's around it."""
    for name in around:
        text = f'<{name} xmlns="{netconf_peer.BASE}">{text}</{name}>'
    return etree.fromstring(text)


class Clients(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.maxDiff = None
        ssh.TICK = 0.002  # seconds: how often ncclient looks for what it is to send
        directory = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory(prefix="yfw-netconf-")))
        cls.socket = directory / "socket"
        cls.daemon = cls.enterClassContext(netconf_peer.start_daemon(BUILD, directory))
        cls.sshd, cls.port, cls.key = netconf_peer.start_sshd(BUILD, directory)
        cls.enterClassContext(cls.sshd)

    def connect(self):
        client = manager.connect(host="127.0.0.1", port=self.port, username=netconf_peer.user(), timeout=30,
                                 key_filename=str(self.key), hostkey_verify=False, allow_agent=False,
                                 look_for_keys=False)
        self.addCleanup(lambda: client.connected and client.close_session())
        return client

    def setUp(self):
        self.client = self.connect()
        self.client.edit_config(target="running", config=document(TWO), default_operation="replace")

    def descriptions(self, source="running"):
        text = self.client.get_config(source=source, filter=("subtree", bgp_filter(
            "<neighbor><neighbor-address/><config><description/></config></neighbor>"))).xml
        found = {}
        for leaf in leaves_of(text, "neighbors"):
            name, value = leaf.split("=")
            address = value[-1] if name == "neighbor-address" else address
            found[address] = value if name == "description" else found.get(address, "")
        return found

    def refused(self, *call, **arguments):
        """The error, as a text of all that a client can go by."""
        function, *values = call
        with self.assertRaises(RPCError) as raised:
            function(*values, **arguments)
        errors = getattr(raised.exception, "errors", None) or [raised.exception]
        return " | ".join(" ".join((e.type, e.tag, e.app_tag or "-", re.sub("openconfig[^:/]*:|.*/", "", e.path or "-"),
                                    e.message)) for e in errors)

    def test_edits(self):
        start = {"1": "the 1", "2": "the 2"}
        rows = [  # default operation, edit, and what the descriptions are, or the error
            ("merge", neighbor(1, "<description>new</description>"), start | {"1": "new"}),
            ("merge", neighbor(3, description("new", "create")), start | {"3": "new"}),
            ("merge", neighbor(1, description("new", "create")),
             "application data-exists data-exists description it is there"),
            ("merge", neighbor(1, description("new", "replace")), start | {"1": "new"}),
            ("merge", neighbor(1, description("", "delete")), start | {"1": ""}),
            ("merge", neighbor(1, "", "delete"), {"2": "the 2"}),
            ("merge", neighbor(3, "", "delete"),
             "application data-missing data-missing neighbor[neighbor-address='192.0.2.3'] there is nothing"),
            ("merge", neighbor(3, "", "remove"), start),
            ("merge", neighbor(1, "<peer-as>1</peer-as>", "replace"), start | {"1": ""}),
            ("merge", neighbor(1, description("x", "change")),
             "application bad-attribute unknown-attribute description "),
            ("none", neighbor(1, "<description>new</description>"), start),
            ("none", neighbor(1, description("new")), start | {"1": "new"}),
            ("replace", GLOBAL + neighbor(1, "<description>new</description>"), {"1": "new"}),
            ("replace", GLOBAL, {}),
            ("merge", neighbor(1, "<peer-as>x</peer-as>"),
             "application invalid-value invalid-value peer-as 'x' is not of this leaf's type: a number from 0 to 4294967295"),
            ("merge", neighbor(1, "<mood>good</mood><hue/>"),
             "application unknown-element unknown-element mood the models have no such node (0x79662200 unknown-element) | application unknown-element unknown-element hue "),
            # All that is not mapped is told.
            ("merge", "<peer-groups>" + "".join(
                f"<peer-group><peer-group-name>{name}</peer-group-name><config><description>x</description></config>"
                "</peer-group>" for name in "ab") + "</peer-groups>", "application operation-not-supported operation-not-supported description "
             "the node is not mapped (0x79663400 operation-not-supported) | application operation-not-supported "),
        ]
        for default_operation, edit, expected in rows:
            for target in ("running", "candidate"):
                with self.subTest(edit, target=target):
                    self.client.edit_config(target="running", config=document(TWO), default_operation="replace")
                    self.client.discard_changes()
                    arguments = {"target": target, "config": document(edit), "default_operation": default_operation}
                    if isinstance(expected, str):
                        self.assertIn(expected, self.refused(self.client.edit_config, **arguments))
                        expected_now = start
                    else:
                        self.client.edit_config(**arguments, test_option="test-only")
                        self.assertEqual(self.descriptions(target), start)
                        self.client.edit_config(**arguments)
                        expected_now = expected
                    self.assertEqual(self.descriptions(target), expected_now)
                    self.assertEqual(self.descriptions(), start if target == "candidate" else expected_now)

    def test_candidate(self):
        edit = {"target": "candidate", "config": document(neighbor(1, description("new")))}
        old, new = {"1": "the 1", "2": "the 2"}, {"1": "new", "2": "the 2"}
        self.client.edit_config(**edit)
        self.client.validate()
        self.client.discard_changes()
        self.client.commit()
        self.assertEqual(self.descriptions(), old)
        self.client.edit_config(**edit)
        self.client.commit()
        self.assertEqual(self.descriptions(), new)
        self.client.copy_config(target="candidate", source=element(document(TWO), "source"))
        self.assertEqual((self.descriptions(), self.descriptions("candidate")), (new, old))
        self.client.copy_config(target="candidate", source="running")
        self.assertEqual(self.descriptions("candidate"), new)
        self.assertIn("operation-not-supported",
                      self.refused(self.client.copy_config, target="running", source="candidate"))
        self.assertIn("operation-not-supported", self.refused(self.client.delete_config, target="candidate"))
        self.client.validate(source=element(document(TWO)))
        self.assertIn("invalid-value", self.refused(self.client.validate, source=element(
            document(GLOBAL.replace("65000", "many")))))

    def test_confirmed_commits(self):
        other = self.connect()
        old, new = {"1": "the 1", "2": "the 2"}, {"1": "new", "2": "the 2"}

        def begin(**arguments):
            self.client.edit_config(target="candidate", config=document(neighbor(1, description("new"))))
            self.client.commit(confirmed=True, **arguments)
            self.assertEqual(self.descriptions(), new)

        begin(timeout="1")
        netconf_peer.wait_until(lambda: self.descriptions() == old, "a commit that nobody confirms is not undone", 10)
        begin()
        self.assertIn("in-use", self.refused(other.commit))
        self.client.cancel_commit()
        self.assertEqual(self.descriptions(), old)
        begin(persist="a & b")
        self.assertIn("invalid-value", self.refused(other.commit, persist_id="a"))
        other.cancel_commit(persist_id="a & b")
        self.assertEqual(self.descriptions(), old)
        begin(timeout="1", persist="me")
        self.client.close_session()
        self.client = self.connect()
        self.client.commit(persist_id="me")
        time.sleep(1.2)
        self.assertEqual(self.descriptions(), new)

    def test_sessions(self):
        other = self.connect()
        self.client.lock("running")
        self.client.lock("candidate")
        self.assertIn("protocol lock-denied - - running is locked by session " + self.client.session_id,
                      self.refused(other.lock, "running"))
        self.assertIn("in-use", self.refused(other.edit_config, target="candidate", config=document(GLOBAL)))
        self.assertIn("operation-failed", self.refused(other.unlock, "running"))
        locks = other.get(filter=("subtree", f'<netconf-state xmlns="{MONITORING}"><datastores/></netconf-state>')).xml
        self.assertIn(f"locked-by-session={self.client.session_id}", leaves_of(locks, "datastores"))
        self.client.unlock("candidate")
        self.assertIn("invalid-value", self.refused(other.kill_session, other.session_id))
        other.kill_session(self.client.session_id)
        other.lock("running")
        netconf_peer.wait_until(lambda: not self.client.connected, "a session that is killed goes on")
        self.client = other
        self.assertIn("invalid-value", self.refused(other.kill_session, "4000000000"))
        other.unlock("running")

    def test_schemas(self):
        modules = set()
        for capability in self.client.server_capabilities:
            if found := re.search(r"\?module=([^&]+)(?:&revision=([^&]+))?", capability):
                modules.add((found[1], found[2] or "", capability.split("?")[0]))
                text = self.client.get_schema(found[1], version=found[2]).data
                self.assertRegex(text, rf"^(/\*.*?\*/\s*|//.*\n\s*)*module {found[1]} ", found[1])
                self.assertRegex(text, f'revision "?{found[2]}')
        listed = self.client.get(filter=("subtree", f'<modules-state xmlns="{LIBRARY}"><module><name/><revision/>'
                                         "<namespace/></module></modules-state>")).xml
        values = [leaf.split("=", 1)[1] for leaf in leaves_of(listed, "modules-state")]
        self.assertEqual(set(zip(values[::3], values[1::3], values[2::3])), modules)
        self.assertGreater(len(modules), 10)
        self.assertIn("invalid-value", self.refused(self.client.get_schema, "openconfig-bgp", version="2000-01-01"))

    def test_filters(self):
        entry = "<neighbor><neighbor-address>192.0.2.2</neighbor-address>"
        address = ["neighbor-address=192.0.2.1", "neighbor-address=192.0.2.2"]
        both = [address[0], "description=the 1", address[1], "description=the 2"]
        whole = [address[1], address[1], "peer-as=65002", "auth-password=pass 2", "description=the 2"]
        rows = [  # below neighbors, and the leaves there
            (entry + "</neighbor>", whole),
            (entry + "<config><description/></config></neighbor>", [address[1], "description=the 2"]),
            ("<neighbor><neighbor-address> 192.0.2.2 </neighbor-address><config/></neighbor>", whole),
            ("<neighbor><config><description/></config></neighbor>", both),
            ("<neighbor><neighbor-address/></neighbor>", address),
            (entry + "<config><description/></config></neighbor>" + entry.replace("2.2<", "2.1<") +
             "<neighbor-address/></neighbor>", [*whole[:1], "description=the 2", address[0]]),
            # Content of other leaves than keys; attributes say nothing.
            ("<neighbor><config><peer-as>65002</peer-as></config></neighbor>", whole),
            ("<neighbor><config><peer-as>65002</peer-as><description x='y'/></config></neighbor>",
             [address[1], "peer-as=65002", "description=the 2"]),
            ("<neighbor><config><peer-as>1</peer-as></config></neighbor>", []),
            # A guess of a password is not answered.
            ("<neighbor><config><auth-password>pass 2</auth-password></config></neighbor>", []),
            (entry.replace("192.0.2.2", "nothing") + "</neighbor>", []),
            ("<neighbor xmlns='urn:x'/>", []),
            ("<mood/>", []),
        ]
        for inner, expected in rows:
            with self.subTest(inner):
                text = self.client.get_config(source="running", filter=("subtree", bgp_filter(inner))).xml
                self.assertEqual(leaves_of(text, "neighbors"), expected)
        bgp = "/n:network-instances/n:network-instance[n:name='DEFAULT']/n:protocols/n:protocol/n:bgp"
        paths = [
            (f'{bgp}/n:neighbors/n:neighbor[n:neighbor-address="192.0.2.2"]', whole),
            (f"{bgp}/n:neighbors/n:neighbor/n:config/n:description | {bgp}/n:neighbors/n:neighbor/n:neighbor-address",
             both),
            (f"{bgp}/n:neighbors/n:neighbor/n:neighbor-address", address),
            (f"{bgp}/n:mood", []),
            ("/m:netconf-state/m:sessions/m:session", []),
        ]
        for path, expected in paths:
            with self.subTest(path):
                query = ("xpath", ({"n": NI, "m": MONITORING}, path))
                text = self.client.get_config(source="running", filter=query).xml
                self.assertEqual(leaves_of(text, "neighbors"), expected)
                text = self.client.get(filter=query).xml
                self.assertEqual(f"session-id={self.client.session_id}" in leaves_of(text, "sessions"),
                                 path.startswith("/m:"))
        for path in ("//n:neighbor", "count(/n:a)", "/o:a", "/n:a/text()", "/n:a[n:b", "a"):
            with self.subTest(path):
                self.assertIn("application invalid-value", self.refused(
                    self.client.get, filter=("xpath", ({"n": NI}, path))))

    def test_what_is_read_can_be_sent_back(self):
        before = self.client.get_config(source="running").xml
        data = re.search("<data>(.*)</data>", before, re.S)[1]
        self.assertIn("<auth-password>pass 1</auth-password>", data)
        self.client.edit_config(target="running", default_operation="replace",
                                config=f'<config xmlns="{netconf_peer.BASE}">{data}</config>')
        after = self.client.get_config(source="running").xml
        self.assertEqual(re.search("<data>(.*)</data>", after, re.S)[1], data)

    def test_messages(self):
        get = "<get-config><source><running/></source>{}</get-config>"
        edit = "<edit-config><target><running/></target>{}</edit-config>"
        with_defaults = "<with-defaults xmlns='urn:ietf:params:xml:ns:yang:ietf-netconf-with-defaults'>{}</with-defaults>"
        as_65000 = "<as>65000</as>"
        echoed = 'message-id="a &lt;&amp;&#10;" xmlns:x="urn:x" x:y="&amp;z" xml:lang="en"'
        rows = [  # what is in <rpc>, what is in the answer, and attributes of <rpc>
            (get.format("<filter/>"), "<data></data>"),
            (get.format("<filter><a xmlns='urn:x'/></filter>"), "<data></data>"),
            (get.format(""), as_65000),
            ("<!-- x -->\n" + get.format(f"<filter><network-instances xmlns='{NI}'><network-instance><name><![CDATA[DEFAULT]]>"
                                         "</name></network-instance></network-instances></filter>"), as_65000),
            (get.format(f"<filter xmlns:nc='{netconf_peer.BASE}' nc:type='xpath' xmlns:n='{NI}' "
                        "nc:select='/n:network-instances'/>"), as_65000),
            (get.format("<filter type='xpath'/>"), "missing-attribute"),
            (get.format("<filter type='regex'/>"), "bad-attribute"),
            (get.format(with_defaults.format("explicit")), as_65000),
            (get.format(with_defaults.format("trim")), "<error-tag>invalid-value<"),
            (get.format("<mood/>"), "<bad-element>mood<"),
            ("<discard-changes/>", f" {echoed}><ok/>", echoed),
            ("<discard-changes/>", "<error-tag>missing-attribute<", ""),
            ("", "<error-type>rpc</error-type><error-tag>malformed-message<"),
            ("<get/><get/>", "<error-tag>malformed-message<"),
            ("<get xmlns='urn:x'/>", "<error-tag>operation-not-supported<"),
            (edit.format("<url>file:///a</url>"), "operation-not-supported"),
            (edit.format("<config/><default-operation>none</default-operation>"), "must stand before"),
            (edit.format("<error-option>continue-on-error</error-option><config/>"), "<bad-element>error-option<"),
            (edit.format("<config/>").replace("running", "startup"), "operation-not-supported"),
            ("<commit><confirm-timeout>5</confirm-timeout></commit>", "<bad-element>confirmed<"),
            ("<cancel-commit/>", "<error-tag>operation-failed<"),
        ]
        for version in ("1.0", "1.1"):
            with netconf_peer.Client(self.socket, version) as client:
                self.assertIn("<session-id>", client.hello)
                for operation, expected, *attributes in rows:
                    with self.subTest(operation, version=version, attributes=attributes):
                        answer = client.ask(operation, *attributes)
                        self.assertIn(expected, answer)
                        etree.fromstring(answer.encode())
                # Prefixes in the place of a default namespace, a declaration, and requests that do not wait.
                prefixed = (f'<?xml version="1.0"?><nc:rpc xmlns:nc="{netconf_peer.BASE}" message-id="%d">'
                            "<nc:get-config><nc:source><nc:running/></nc:source></nc:get-config></nc:rpc>")
                for i in range(50):
                    client.send(prefixed % i)
                for i in range(50):
                    self.assertRegex(client.receive(), f'message-id="{i}".*<as>65000</as>')


if __name__ == "__main__":
    parser = argparse.ArgumentParser(add_help=False)
    parser.add_argument("--build", type=pathlib.Path, default=BUILD)
    known, rest = parser.parse_known_args()
    BUILD = known.build.resolve()
    unittest.main(argv=[sys.argv[0], *rest])
