"""The simulated TV view's server against bad input and many clients.

    python3 server_test.py CASE TARN_RUN SCRIPTS_FOLDER

Starts tarn-run --sim-view on a free port (port 0) and talks HTTP and
WebSocket to it with plain sockets, as a careless or hostile client would.
"""
import json
import os
import re
import socket
import struct
import sys
import time

from viewclient import Run as ClientRun, WebSocket, get, http, status

CASE, TARN_RUN, SCRIPTS = sys.argv[1], sys.argv[2], sys.argv[3]
failures = []


def Run(*args, script="quiet.js", wait=True):
    return ClientRun(TARN_RUN, *args, script=os.path.join(SCRIPTS, script) if script else None,
                     wait=wait)


def check(ok, what):
    print(("ok: " if ok else "FAILED: ") + what, flush=True)
    if not ok:
        failures.append(what)


def still_serving(run, what):
    check(status(get(run.port, "/")) == 200, "still serving the page after " + what)


def case_http_errors():
    run = Run("--sim-view=127.0.0.1:0")
    page = get(run.port, "/")
    check(status(page) == 200 and b"<title>Simulated TV</title>" in page, "the page")
    check(b"Content-Security-Policy: default-src 'self'" in page, "nothing but its own files")
    for path in ["/view.js", "/sections.js", "/view.css"]:
        check(status(get(run.port, path)) == 200, "GET " + path)
    png = get(run.port, "/screen.png?v=3")
    check(status(png) == 200 and b"\r\n\r\n\x89PNG" in png, "the screen as PNG")
    for path in ["/nothing", "/../CMakeLists.txt", "/%2e%2e/x", "/.hidden.js", "/view.js/x",
                 "//etc/passwd", "/" + "a" * 5000]:
        check(status(get(run.port, path)) == 404, "404 for " + path[:40])
    check(status(http(run.port, b"POST / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 3\r\n"
                                b"Connection: close\r\n\r\nabc")) == 405, "POST refused")
    check(status(get(run.port, "/", host="attacker.example:80")) == 400,
          "a host name in Host is refused (DNS rebinding)")
    check(http(run.port, b"GARBAGE\r\n\r\n") == b"", "not HTTP: the connection is closed")
    huge = b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nX: " + b"a" * 40000 + b"\r\n\r\n"
    check(status(http(run.port, huge)) is None, "an oversized header: the connection is closed")
    body = b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 900000\r\n\r\n" + b"x" * 70000
    check(status(http(run.port, body)) is None, "an oversized body: the connection is closed")
    check(status(http(run.port, b"GET / HTTP/1.1\r\nHost: 127.0.0.1\r\n")) is None,
          "a request cut short: closed at once or after the idle time")
    ws = WebSocket(run.port, path="/elsewhere")
    check(not ws.accepted and b" 404 " in ws.head, "a WebSocket on another path is refused")
    ws.close()
    still_serving(run, "bad requests")
    check(run.stop() == 130, "Ctrl+C ends the run with 130")


def case_websocket_limits():
    run = Run("--sim-view=127.0.0.1:0", script="setter.js")
    ws = WebSocket(run.port)
    check(ws.accepted, "a WebSocket on /events")
    hello = ws.receive()
    check(hello == {"type": "hello", "readOnly": False, "controls": True}, "hello: %s" % hello)
    first = ws.until(lambda m: m.get("type") == "update" and "state" in m, "the state")
    check(first["state"]["power"]["state"] == 0, "the first update has the whole state")
    replies = {
        "not json": ws.command({"id": 1, "command": 5}),
        "unknown": ws.command({"id": 2, "command": "explode"}),
        "bad path": ws.command({"id": 3, "command": "set", "path": "power.stat", "value": 1}),
        "bad value": ws.command({"id": 4, "command": "set", "path": "power.state", "value": "x"}),
        "bad event": ws.command({"id": 5, "command": "fire", "event": "wakeUp"}),
        "bad arguments": ws.command({"id": 6, "command": "fire", "event": "powerKey",
                                     "arguments": {"a": 1}}),
        "no value": ws.command({"id": 7, "command": "set", "path": "power.state"}),
    }
    check(replies["not json"]["error"] == '"command" must be a string', "command not a string")
    check(replies["unknown"]["error"].startswith("unknown command 'explode'"), "unknown command")
    check("did you mean \"state\"" in replies["bad path"]["error"], "bad path: %s" % replies["bad path"]["error"])
    check(not replies["bad value"]["ok"], "a value of the wrong kind: " + replies["bad value"]["error"])
    check("did you mean \"wakeup\"" in replies["bad event"]["error"], "unknown event")
    check(replies["bad arguments"]["error"] == '"arguments" must be a list', "arguments not a list")
    check(replies["no value"]["error"] == 'set: "value" missing', "set without a value")
    ws.send("{not json")
    bad = ws.until(lambda m: m.get("type") == "reply", "a reply to text that is not JSON")
    check(bad == {"type": "reply", "ok": False, "error": "a control is a JSON object"}, "not JSON")
    ws.send("[" * 100000 + "]" * 100000)
    deep = ws.until(lambda m: m.get("type") == "reply", "a reply to deep JSON")
    check(not deep["ok"], "JSON nested too deep is refused")
    ok = ws.command({"id": 8, "command": "set", "path": "av.audioMute", "value": True})
    check(ok == {"type": "reply", "id": 8, "ok": True}, "a good control is carried out")
    ws.until(lambda m: m.get("type") == "update" and "state" in m and m["state"]["av"]["audioMute"],
             "the change pushed back")
    check(True, "the change is pushed back")
    ws.send("x" * (300 << 10))
    closed = False
    for _ in range(100000):
        message = ws.receive()
        if message is None:
            closed = True
            break
        if message.get("type") == "reply":
            break
    check(closed, "a message over the limit ends the session")
    ws.close()
    still_serving(run, "an oversized message")
    check(run.stop() == 130, "Ctrl+C ends the run with 130")


def case_clock():
    run = Run("--sim-view=127.0.0.1:0")
    ws = WebSocket(run.port)
    ws.receive()
    first = ws.until(lambda m: m.get("type") == "update" and "state" in m, "the state")
    shown = [first["state"]["clock"]]

    # The reply, and the update that shows the clock changed (either first).
    def clock_after(command, what):
        ws.send(json.dumps(dict(command, id=1)))
        reply = None
        while reply is None or shown[-1] == shown[0]:
            message = ws.receive()
            if message is None:
                raise SystemExit("the server closed after " + what)
            if message.get("type") == "reply" and message.get("id") == 1:
                reply = message
            elif message.get("type") == "update" and "state" in message:
                shown.append(message["state"]["clock"])
        check(reply.get("ok") is True, "%s: %s" % (what, reply))
        del shown[:-1]
        return shown[0]

    clock = clock_after({"command": "clock", "action": "pause"}, "pause")
    wall, monotonic = clock["wallTime"], clock["monotonic"]
    check(wall is not None and abs(wall - time.time()) < 10,
          "pause fixes the wall clock where it stands: %s" % wall)
    check(monotonic is not None and abs(monotonic["sec"] - time.monotonic()) < 10,
          "and the monotonic clock where it stands: %s" % monotonic)
    check(ws.command({"id": 2, "command": "clock", "action": "pause"})["ok"], "pause again")
    clock = clock_after({"command": "clock", "action": "step", "seconds": 60}, "step")
    check(clock["wallTime"] == wall + 60 and clock["monotonic"] ==
          {"sec": monotonic["sec"] + 60, "nsec": monotonic["nsec"]},
          "a step moves both clocks on from where they stood: %s" % clock)
    clock = clock_after({"command": "clock", "action": "set", "wallTime": 1893456000}, "set")
    check(clock["wallTime"] == 1893456000 and clock["monotonic"]["sec"] == monotonic["sec"] + 60,
          "a date sets the wall clock; the monotonic one stands still: %s" % clock)
    refused = {
        "unknown": {"action": "rewind"},
        "no action": {},
        "text step": {"action": "step", "seconds": "60"},
        "fraction": {"action": "step", "seconds": 1.5},
        "huge step": {"action": "step", "seconds": 1 << 50},
        "before boot": {"action": "step", "seconds": -(monotonic["sec"] + 3600)},
        "text date": {"action": "set", "wallTime": "2030-01-01"},
    }
    for what, command in refused.items():
        reply = ws.command(dict(command, id=3, command="clock"))
        check(reply.get("ok") is False and reply.get("error"), "%s refused: %s" % (what, reply.get("error")))
    clock = clock_after({"command": "clock", "action": "resume"}, "resume")
    check(clock["wallTime"] is None and clock["monotonic"] is None,
          "resume gives both back to the PC: %s" % clock)
    ws.close()
    check(run.stop() == 130, "Ctrl+C ends the run with 130")


def case_origin():
    run = Run("--sim-view=127.0.0.1:0")
    for origin, label in [("http://attacker.example", "another origin"), (None, "no origin"),
                          ("http://127.0.0.1:1", "another port")]:
        ws = WebSocket(run.port, origin=origin)
        hello = ws.receive()
        check(hello["controls"] is False, "%s: watched, with no controls offered" % label)
        reply = ws.command({"id": 1, "command": "set", "path": "av.videoMute", "value": True})
        check(reply["error"] == "controls are taken only from the view's own page",
              "%s: a control is refused" % label)
        ws.close()
    ws = WebSocket(run.port)
    ws.receive()
    state = ws.until(lambda m: "state" in m, "the state")["state"]
    check(state["av"]["videoMute"] is False, "nothing was changed by the refused controls")
    journal = ws.command({"id": 2, "command": "fire", "event": "powerKey"})
    check(journal["ok"], "the page's own origin may steer the set")
    ws.close()
    check(run.stop() == 130, "Ctrl+C ends the run with 130")


def case_readonly():
    run = Run("--sim-view-readonly=127.0.0.1:0")
    ws = WebSocket(run.port)
    hello = ws.receive()
    check(hello == {"type": "hello", "readOnly": True, "controls": False}, "read-only hello")
    check(ws.until(lambda m: "state" in m, "the state")["state"]["power"]["state"] == 0,
          "the state is shown")
    reply = ws.command({"id": 1, "command": "fire", "event": "powerOff", "arguments": [1]})
    check(reply["error"] == "this view is read-only (--sim-view-readonly)", "controls refused")
    ws.close()
    check(run.stop() == 130, "Ctrl+C ends the run with 130")


def case_vanishing_client():
    run = Run("--sim-view=127.0.0.1:0", script="setter.js")
    for i in range(5):
        ws = WebSocket(run.port)
        ws.receive()
        ws.sock.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        ws.close()  # a reset, no close frame, while updates flow
    ws = WebSocket(run.port)
    ws.receive()
    ws.sock.sendall(b"\x81\xfe\x10")  # half a frame header, then gone
    ws.close()
    # A client that reads nothing while the journal floods: the server keeps
    # one update for it, not all of them.
    idle = WebSocket(run.port)
    time.sleep(2)
    watcher = WebSocket(run.port)
    watcher.receive()
    update = watcher.until(lambda m: m.get("type") == "update" and m["journal"], "journal entries")
    check(len(update["journal"]) <= 300, "an update carries at most 300 journal entries")
    idle.close()
    watcher.close()
    still_serving(run, "clients that vanished")
    check(run.stop() == 130, "Ctrl+C ends the run with 130")


def case_many_clients():
    run = Run("--sim-view=127.0.0.1:0")
    clients = [WebSocket(run.port) for _ in range(20)]
    for c in clients:
        c.receive()
        c.until(lambda m: "state" in m, "the state")
    reply = clients[7].command({"id": 1, "command": "set", "path": "tv.channel.name",
                                "value": "Channel 20"})
    check(reply["ok"], "one of 20 pages sets a value")
    seen = 0
    for c in clients:
        c.until(lambda m: "state" in m and m["state"]["tv"]["channel"]["name"] == "Channel 20",
                "the new value")
        seen += 1
    check(seen == 20, "all 20 pages see it")
    for c in clients:
        c.close()
    still_serving(run, "20 clients")
    check(run.stop() == 130, "Ctrl+C ends the run with 130")


def ends(args, script="quiet.js"):
    run = Run(*args, script=script, wait=False)
    code = run.process.wait(timeout=60)
    time.sleep(0.1)
    return code, run.stdout.decode(), run.stderr.decode()


def case_address_forms():
    code, out, err = ends(["--sim-view=abc"])
    check(code == 2 and err == 'tarn-run: --sim-view=abc: "abc" is not an IP address or '
          'localhost (expected [HOST:]PORT)\n', "a bad host: %d %r" % (code, err))
    code, out, err = ends(["--sim-view=127.0.0.1:70000"])
    check(code == 2 and "the port must be 0 or in range 1024 to 65535" in err, "a bad port")
    code, out, err = ends(["--sim-view="])
    check(code == 2 and "expected [HOST:]PORT" in err, "an empty value")
    # A value only after '=': the script's name after the option is the script.
    run = Run("--sim-view=127.0.0.1:0", "--sim-view-readonly", script="quiet.js")
    run.wait_for(lambda: b"started" in run.stdout, "the script's output")
    ws = WebSocket(run.port)
    check(ws.receive()["readOnly"] is True, "--sim-view-readonly SCRIPT runs SCRIPT, read-only")
    ws.close()
    check(run.stop() == 130, "Ctrl+C ends the run with 130")
    # Any other address than loopback is named, and warned about.
    code, out, err = ends(["--sim-view=0.0.0.0:0", "-e", "tarn.exit(4)"], script=None)
    check(code == 4 and re.match(r"Warning: the simulated TV view listens on 0\.0\.0\.0:\d+, "
                                 r"which other machines may reach; anyone who opens it sees the "
                                 r"set and can steer it\.\nSimulated TV view on "
                                 r"http://0\.0\.0\.0:\d+/\n$", err) is not None,
          "a public address is warned about: %r" % err)
    # After the script's name, the option is the script's.
    code, out, err = ends(["-e", "console.log(JSON.stringify(tarn.args))", "--", "--sim-view"],
                          script=None)
    check(code == 0 and out == '["--sim-view"]\n' and "Simulated TV view" not in err,
          "after the script the option is an argument: %r %r" % (out, err))


def case_linger():
    run = Run("--sim-view=127.0.0.1:0", "--no-bridges")
    run.wait_for(lambda: b"the script's work is done; the simulated TV view stays up until Ctrl+C"
                 in run.stderr, "the notice that the run stays up")
    check(status(get(run.port, "/")) == 200, "the view stays up after the script's work")
    ws = WebSocket(run.port)
    ws.receive()
    first = ws.receive()
    check(first["type"] == "update" and first["state"]["power"]["state"] == 0,
          "a page that comes when nothing has changed still gets the whole state")
    ws.close()
    check(run.stop() == 130, "Ctrl+C ends it")
    run = Run("--sim-view=127.0.0.1:0", script="exits.js")
    check(run.process.wait(timeout=60) == 3, "tarn.exit ends it with its code")


globals()["case_" + CASE]()
print("%d failed" % len(failures) if failures else "all passed")
sys.exit(1 if failures else 0)
