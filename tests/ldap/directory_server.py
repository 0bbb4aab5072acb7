#!/usr/bin/python3
"""The library and examples/directory against OpenLDAP's slapd.

usage: directory_server.py EMULATOR... CLIENT DIRECTORY

CLIENT is tests/ldap's ldap_client, DIRECTORY the example.
"""

import os
import socket
import subprocess
import sys
import threading

import slapd

*EMULATOR, CLIENT, DIRECTORY = sys.argv[1:]
PATIENCE = 120
SUFFIX = "dc=farm,dc=test"
ANNA = f"uid=anna,ou=people,{SUFFIX}"
PASSWORD = "Gr\u00fcn\u20ac7"
SIZE_LIMIT = 20
ENTRIES = f"""\
dn: {SUFFIX}
objectClass: dcObject
objectClass: organization
dc: farm
o: Farm

dn: ou=people,{SUFFIX}
objectClass: organizationalUnit
ou: people

dn: {ANNA}
objectClass: inetOrgPerson
uid: anna
cn: Anna J\u00e4ger
sn: J\u00e4ger
mail: anna@farm.test
mail: jaeger@farm.test
mail: a,b@farm.test
userPassword: {PASSWORD}

dn: uid=ben,ou=people,{SUFFIX}
objectClass: inetOrgPerson
uid: ben
cn: Ben
sn: Berg
mail: ben@farm.test
userPassword: other

dn: ou=hosts,{SUFFIX}
objectClass: organizationalUnit
ou: hosts
""" + "".join(f"\ndn: cn=host{i},ou=hosts,{SUFFIX}\nobjectClass: device\ncn: host{i}\n" for i in range(SIZE_LIMIT + 5))

failures = 0


def expect(actual, wanted, what):
    global failures
    if actual != wanted:
        failures += 1
        print(f"failed: {what}\n  got    {actual!r}\n  wanted {wanted!r}")


class Client:
    """One session, made by the library."""

    def __init__(self):
        self.process = subprocess.Popen([*EMULATOR, CLIENT], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.watch = threading.Timer(PATIENCE, self.process.kill)
        self.watch.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        expect(self.process.wait(), 0, "the client's exit code")
        self.watch.cancel()

    def ask(self, *words):
        """The answer's lines."""
        self.process.stdin.write(("\t".join(map(str, words)) + "\n").encode())
        self.process.stdin.flush()
        lines = []
        while (line := self.process.stdout.readline().decode().rstrip("\n")) != ".":
            if not line:
                sys.exit(f"no answer to {words}")
            lines.append(line)
        return lines

    def search(self, base, filter_text, *names):
        """The result, and the entries as dictionaries."""
        result, *lines = self.ask("search", base, filter_text, ",".join(names))
        entries = []
        for line in lines:
            if line == "entry":
                entries.append({})
            else:
                name, value = line.split("\t")
                entries[-1][name] = value
        return result, entries

    def log_in(self, port, name=ANNA, password=PASSWORD, ssl=0, host="127.0.0.1"):
        expect(self.ask("open", host, port, ssl), ["ok"], f"a session with ssl {ssl}")
        expect(self.ask("connect"), ["ok"], "connecting")
        expect(self.ask("bind", name, password), ["ok"], f"bind as {name}")


def try_binds(client):
    expect(client.ask("bind", ANNA, "wrong"), ["failed 49"], "a wrong password")
    expect(client.ask("bind", f"uid=nobody,{SUFFIX}", "wrong"), ["failed 49"], "an unknown name")
    expect(client.ask("bind", "no name", "wrong"), ["failed 34"], "a name that is none")
    expect(client.ask("bind", ANNA, ""), ["ok"], "an empty password is let in by such a server")
    expect(client.ask("bind", ANNA, PASSWORD), ["ok"], "the right password after the wrong one")


def try_searches(client):
    people = f"ou=people,{SUFFIX}"
    mails = "anna@farm.test,jaeger@farm.test,a,b@farm.test"
    expect(client.search(SUFFIX, "(uid=anna)", "mail", "cn"),
           ("ok", [{"cn": "Anna J\u00e4ger", "mail": mails}]), "values of one attribute and of two")
    result, entries = client.search(people, "(uid=*)", "uid")
    expect((result, sorted(entry["uid"] for entry in entries)), ("ok", ["anna", "ben"]), "two entries, in any order")
    expect(client.search(SUFFIX, "(cn=Anna J\u00e4ger)", "uid"), ("ok", [{"uid": "anna"}]), "a filter in UTF-8")
    expect(client.search(SUFFIX, "(uid=nobody)", "uid"), ("ok", []), "an empty result")
    expect(client.search(SUFFIX, "(uid=ben)", "description"), ("ok", []), "an entry without attributes")
    result, entries = client.search(SUFFIX, "(uid=ben)")
    expect((result, [set(entry) for entry in entries]),
           ("ok", [{"objectClass", "uid", "cn", "sn", "mail", "userPassword"}]), "an empty set asks for all")
    expect(client.search(f"ou=none,{SUFFIX}", "(uid=*)", "uid"), ("failed 32", []), "an unknown base")
    expect(client.search(SUFFIX, "(uid=anna", "uid"), ("failed 87", []), "a broken filter")
    expect(client.search(f"ou=hosts,{SUFFIX}", "(cn=*)", "cn"), ("failed 4", []), "the size limit")
    expect(client.search(SUFFIX, "(cn=host7)", "cn"), ("ok", [{"cn": "host7"}]), "a search after the size limit")


def try_tls(port, ssl):
    with Client() as client:
        client.log_in(port, ssl=ssl, host="localhost")
        expect(client.search(SUFFIX, "(uid=anna)", "uid"), ("ok", [{"uid": "anna"}]), f"a search with ssl {ssl}")
        client.ask("close")


def try_checked_tls(port):
    """Clients that cannot tell whether they use SSL make no session that must."""
    with Client() as client:
        answer = client.ask("open", "localhost", port, 1)
        client.ask("close")
    if answer == ["failed 92"]:
        print("ssl 1 is not tried any further: this system's client does not know the option that tells of SSL")
        expect(run_example("--ssl", "localhost", port, ANNA, SUFFIX, password=PASSWORD),
               (1, ["directory: cannot make a session: error 92"]), "the example without SSL")
        return
    expect(answer, ["ok"], "a session with ssl 1")
    try_tls(port, 1)


def run_example(*arguments, password=None, typed=""):
    """Exit code, and all lines."""
    environment = dict(os.environ)
    environment.pop("DIRECTORY_PASSWORD", None)
    if password is not None:
        environment["DIRECTORY_PASSWORD"] = password
    done = subprocess.run([*EMULATOR, DIRECTORY, *map(str, arguments)], input=typed.encode(), env=environment,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=PATIENCE)
    return done.returncode, done.stdout.decode().replace("\r", "").splitlines()


def try_example(port):
    request = ("127.0.0.1", port, ANNA, SUFFIX, "(uid=anna)")
    found = [f"1  cn    Anna J\u00e4ger", "   mail  anna@farm.test,jaeger@farm.test,a,b@farm.test", "1 entry"]
    expect(run_example(*request, "mail", "cn", password=PASSWORD), (0, found), "the password in the environment")
    expect(run_example(*request, "mail", "cn", typed=PASSWORD + "\r\n"), (0, found), "the password typed")
    expect(run_example(*request[:4], "(uid=nobody)", password=PASSWORD), (0, ["0 entries"]), "nothing found")
    expect(run_example(*request, password="wrong"),
           (1, ["directory: cannot log in: 49, The supplied credential is invalid."]), "a wrong password")
    expect(run_example(*request[:3], "ou=none", password=PASSWORD),
           (1, ["directory: cannot search: 32, Object does not exist."]), "an unknown place")
    expect(run_example("127.0.0.1", port)[0], 2, "too few arguments")


def try_example_without_password():
    """It must not even ask the server."""
    with socket.create_server(("127.0.0.1", 0)) as listener:
        listener.settimeout(0.2)
        for typed, password in (("", None), ("\r\n", None), ("typed\n", "")):
            answer = run_example("127.0.0.1", listener.getsockname()[1], ANNA, SUFFIX, typed=typed, password=password)
            expect(answer, (1, ["directory: an empty password would let anybody in; not asking the server"]),
                   f"no password: {typed!r}, {password!r}")
            try:
                listener.accept()
                expect("a connection", "none", "an empty password reaches no server")
            except TimeoutError:
                pass


def try_example_without_server(port):
    code, lines = run_example("127.0.0.1", port, ANNA, SUFFIX, password=PASSWORD)
    expect((code, lines[-1].partition(": 81, ")[2]), (1, "Cannot contact the LDAP server."), "no server")


def main():
    if missing := slapd.missing_programs():
        sys.exit(f"missing: {', '.join(missing)}; run scripts/setup.sh")
    try_example_without_password()
    with slapd.Slapd(SUFFIX, ENTRIES, SIZE_LIMIT) as server:
        with Client() as client:
            client.log_in(server.port)
            try_binds(client)
            try_searches(client)
            try_tls(server.tls_port, 2)
            try_checked_tls(server.tls_port)
            try_example(server.port)
            server.stop()
            expect(client.search(SUFFIX, "(uid=anna)", "uid"), ("failed 81", []), "a search after the server's end")
            client.ask("close")
            expect(client.ask("open", "127.0.0.1", server.port, 0), ["ok"], "a session needs no server")
            expect(client.ask("bind", ANNA, PASSWORD), ["failed 81"], "a bind without a server")
            client.ask("close")
            try_example_without_server(server.port)
    if failures:
        sys.exit(f"{failures} failures")
    print("slapd and the library agree")


main()
