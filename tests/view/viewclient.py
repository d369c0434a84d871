"""A client of the simulated TV's view: tarn-run started with --sim-view on a
free port, and plain-socket HTTP and WebSocket to it. Shared by the view's
server tests and its benchmark."""
import base64
import json
import os
import re
import signal
import socket
import struct
import subprocess
import threading
import time

EMULATOR = os.environ.get("TARN_EMULATOR", "").split()


class Run:
    """tarn-run with the view, its address read from stderr."""

    def __init__(self, tarn_run, *args, script=None, wait=True):
        command = EMULATOR + [tarn_run] + list(args)
        # The script, with its own arguments after it when given as a list.
        if script:
            command += script if isinstance(script, list) else [script]
        self.process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.stderr = b""
        self.stdout = b""
        threading.Thread(target=self._read, args=("stderr",), daemon=True).start()
        threading.Thread(target=self._read, args=("stdout",), daemon=True).start()
        self.port = None
        if wait:
            self.wait_for(lambda: re.search(rb"Simulated TV view on http://127\.0\.0\.1:(\d+)/\n",
                                            self.stderr), "the address")
            self.port = int(re.search(rb"127\.0\.0\.1:(\d+)/", self.stderr).group(1))

    def _read(self, name):
        stream = getattr(self.process, name)
        for chunk in iter(lambda: stream.read1(4096), b""):
            setattr(self, name, getattr(self, name) + chunk)

    def wait_for(self, test, what, seconds=60):
        end = time.time() + seconds
        while time.time() < end:
            if test():
                return True
            if self.process.poll() is not None and not test():
                time.sleep(0.2)
                if test():
                    return True
                raise SystemExit("tarn-run ended before " + what + ": " + self.stderr.decode())
            time.sleep(0.02)
        raise SystemExit("timed out waiting for " + what + ": " + self.stderr.decode())

    def stop(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
        return self.process.wait(timeout=60)


def http(port, raw, timeout=10):
    """Sends raw bytes; everything the server answers before it closes or
    goes quiet."""
    s = socket.create_connection(("127.0.0.1", port), timeout=timeout)
    s.sendall(raw)
    data = b""
    try:
        while True:
            chunk = s.recv(65536)
            if not chunk:
                break
            data += chunk
            if b"\r\n\r\n" in data:
                head, _, body = data.partition(b"\r\n\r\n")
                m = re.search(rb"(?i)content-length: (\d+)", head)
                if m and len(body) >= int(m.group(1)):
                    break
    except socket.timeout:
        pass
    s.close()
    return data


def get(port, path, host=None, extra=""):
    host = host or "127.0.0.1:%d" % port
    return http(port, ("GET %s HTTP/1.1\r\nHost: %s\r\n%sConnection: close\r\n\r\n"
                       % (path, host, extra)).encode())


def status(answer):
    m = re.match(rb"HTTP/1\.1 (\d+)", answer)
    return int(m.group(1)) if m else None


class WebSocket:
    def __init__(self, port, origin="same", path="/events"):
        self.sock = socket.create_connection(("127.0.0.1", port), timeout=20)
        key = base64.b64encode(os.urandom(16)).decode()
        headers = ["GET %s HTTP/1.1" % path, "Host: 127.0.0.1:%d" % port, "Upgrade: websocket",
                   "Connection: Upgrade", "Sec-WebSocket-Key: " + key,
                   "Sec-WebSocket-Version: 13"]
        if origin == "same":
            headers.append("Origin: http://127.0.0.1:%d" % port)
        elif origin:
            headers.append("Origin: " + origin)
        self.sock.sendall(("\r\n".join(headers) + "\r\n\r\n").encode())
        self.buffer = b""
        while b"\r\n\r\n" not in self.buffer:
            chunk = self.sock.recv(4096)
            if not chunk:
                raise ConnectionError("closed during the handshake")
            self.buffer += chunk
        head, _, self.buffer = self.buffer.partition(b"\r\n\r\n")
        self.accepted = head.startswith(b"HTTP/1.1 101")
        self.head = head

    def send(self, text, opcode=1):
        payload = text.encode() if isinstance(text, str) else text
        mask = os.urandom(4)
        header = bytes([0x80 | opcode])
        n = len(payload)
        if n < 126:
            header += bytes([0x80 | n])
        elif n < 65536:
            header += bytes([0x80 | 126]) + struct.pack(">H", n)
        else:
            header += bytes([0x80 | 127]) + struct.pack(">Q", n)
        masked = bytes(b ^ mask[i % 4] for i, b in enumerate(payload))
        self.sock.sendall(header + mask + masked)

    def _take(self, n):
        while len(self.buffer) < n:
            chunk = self.sock.recv(65536)
            if not chunk:
                raise ConnectionError("closed")
            self.buffer += chunk
        out, self.buffer = self.buffer[:n], self.buffer[n:]
        return out

    def receive(self):
        """The next text message as JSON; None when the server closed."""
        message = b""
        try:
            while True:
                b0, b1 = self._take(2)
                n = b1 & 0x7F
                if n == 126:
                    n = struct.unpack(">H", self._take(2))[0]
                elif n == 127:
                    n = struct.unpack(">Q", self._take(8))[0]
                payload = self._take(n)
                opcode = b0 & 0x0F
                if opcode == 8:
                    return None
                if opcode in (0, 1):  # a text message, maybe in fragments
                    message += payload
                    if b0 & 0x80:
                        return json.loads(message)
        except (ConnectionError, OSError):
            return None

    def until(self, test, what, limit=2000):
        for _ in range(limit):
            message = self.receive()
            if message is None:
                raise SystemExit("the server closed while waiting for " + what)
            if test(message):
                return message
        raise SystemExit("never got " + what)

    def command(self, command):
        self.send(json.dumps(command))
        return self.until(lambda m: m.get("type") == "reply" and m.get("id") == command.get("id"),
                          "a reply")

    def close(self):
        self.sock.close()
