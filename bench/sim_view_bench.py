"""The simulated TV view's speed, in one run:

  latency: from a tarn.sim.set in the script to the page's WebSocket
    receiving it (the value carries the script's wall time, in ms), p50 and
    p99 over COUNT changes;
  flood: RATE platform calls a second for SECONDS, without the view and
    then with it and a page reading every update: the rate the script
    reached, the time its calls took, the server's memory (VmRSS) as it
    went, and the journal entries the page got or was told it skipped.

    python3 bench/sim_view_bench.py TARN_RUN [RUNS [COUNT RATE SECONDS]]

Each measure is taken RUNS times (default 5) and the median printed.
"""
import os
import re
import statistics
import sys
import threading
import time

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "tests", "view"))
from viewclient import Run, WebSocket  # noqa: E402

tarn_run = sys.argv[1]
runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
count = int(sys.argv[3]) if len(sys.argv) > 3 else 1000
rate = int(sys.argv[4]) if len(sys.argv) > 4 else 10000
seconds = int(sys.argv[5]) if len(sys.argv) > 5 else 10
load = os.path.join(here, "sim_view_load.js")


def percentile(values, p):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(round(p / 100.0 * (len(ordered) - 1))))]


def latency_run():
    run = Run(tarn_run, "-l", "error", "--sim-view=127.0.0.1:0",
              script=[load, "latency", str(count)])
    ws = WebSocket(run.port)
    ws.receive()
    ws.command({"id": 1, "command": "set", "path": "vconf.bench/go", "value": 1})
    delays = []
    while len(delays) < count:
        message = ws.receive()
        if message is None:
            break
        if message.get("type") != "update" or "state" not in message:
            continue
        name = message["state"]["tv"]["channel"]["name"]
        if name.startswith("t"):
            delays.append(time.time() * 1000.0 - float(name[1:]))
    ws.close()
    run.stop()
    return delays


def rss_kb(pid):
    try:
        with open("/proc/%d/status" % pid) as f:
            return int(re.search(r"VmRSS:\s+(\d+)", f.read()).group(1))
    except (OSError, AttributeError):
        return 0


def flood_run(with_view):
    args = ["-l", "error"] + (["--sim-view=127.0.0.1:0"] if with_view else [])
    run = Run(tarn_run, *args, script=[load, "flood", str(rate), str(seconds)], wait=with_view)
    got = {"updates": 0, "entries": 0, "skipped": 0}
    if with_view:
        ws = WebSocket(run.port)

        def read():
            while True:
                message = ws.receive()
                if message is None:
                    return
                if message.get("type") == "update":
                    got["updates"] += 1
                    got["entries"] += len(message["journal"])
                    got["skipped"] = message["skipped"]

        threading.Thread(target=read, daemon=True).start()
    samples = []
    while run.process.poll() is None:
        samples.append(rss_kb(run.process.pid))
        time.sleep(0.25)
    run.process.wait()
    time.sleep(0.2)
    m = re.search(rb"calls (\d+) rate (\d+) busy_ms (\d+)", run.stdout)
    if not m:
        raise SystemExit("the flood script printed no figures: " + run.stderr.decode())
    calls, reached, busy = (int(x) for x in m.groups())
    samples = [s for s in samples if s]
    return {"rate": reached, "us_per_call": busy * 1000.0 / calls,
            "rss_first_mb": samples[0] / 1024 if samples else 0,
            "rss_max_mb": max(samples) / 1024 if samples else 0, **got}


def main():
    p50s, p99s, received = [], [], []
    for _ in range(runs):
        delays = latency_run()
        received.append(len(delays))
        p50s.append(percentile(delays, 50))
        p99s.append(percentile(delays, 99))
    print("latency, set in the script to the page's WebSocket (ms, 1 ms resolution): "
          "p50 %.1f  p99 %.1f  (median of %d runs; %d of %d changes seen per run)"
          % (statistics.median(p50s), statistics.median(p99s), runs, min(received), count))
    without, with_view = [], []
    for _ in range(runs):
        without.append(flood_run(False))
        with_view.append(flood_run(True))

    def med(rows, key):
        return statistics.median(r[key] for r in rows)

    print("flood, %d platform calls/s for %d s (median of %d runs):" % (rate, seconds, runs))
    for label, rows in (("without the view", without), ("with the view", with_view)):
        print("  %-17s rate %6.0f/s  %.2f us/call  tarn-run RSS %.1f -> max %.1f MB"
              % (label, med(rows, "rate"), med(rows, "us_per_call"), med(rows, "rss_first_mb"),
                 med(rows, "rss_max_mb")))
    print("  rate with/without the view: %.3f" % (med(with_view, "rate") / med(without, "rate")))
    print("  page: %.0f updates, %.0f journal entries received, %.0f reported skipped"
          % (med(with_view, "updates"), med(with_view, "entries"), med(with_view, "skipped")))


if __name__ == "__main__":
    main()
