#!/usr/bin/env python3
"""Breaks off the program where it hurts and looks at what it leaves.

    hammer.py PROGRAM kill [COUNT]     kill -9 at a random moment of every writer, COUNT times in all (500)
    hammer.py PROGRAM disk [PLACES]    every writer with too little room for its file: the first and last PLACES bytes,
                                       and as many places in between (500)
    hammer.py PROGRAM share [SECONDS]  three processes write one settings database for SECONDS (60)

What has to hold: an output file is the one from before or the whole new one; a failure is one line on standard error
and an exit code other than 0, and leaves nothing beside; the settings database opens and holds what was last
committed. Ends with a line of numbers, and with 1 when something did not hold.
"""
import random
import resource
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

KCD = """<NetworkDefinition xmlns="http://kayak.2codeornot2code.org/1.0"><Document/><Bus name="A">
<Message id="0x10" name="M" length="8"><Signal name="S" offset="0" length="16"/></Message></Bus></NetworkDefinition>
"""
OLD = b"what was there before\n"


class Hammer:
    def __init__(self, program, folder):
        self.program, self.folder = program, folder
        self.faults = []

    def run(self, args, **more):
        return subprocess.run([self.program, *args], cwd=self.folder, capture_output=True, restore_signals=False, **more)

    def need(self, holds, text):
        if not holds:
            self.faults.append(text)
            print("does not hold:", text)

    def prepare(self):
        """Inputs, and the writers of output files by name: what is run, and the file that it writes."""
        self.run(["simulate", "run.wav", "--duration", "4", "--truth", "truth.csv"])
        self.run(["simulate", "words.u32", "--encoder", "1", "--duration", "2"])
        self.run(["speed", "run.wav", "--pairs", "speed.usig", "--curve", "curve.usig"])
        self.run(["export", "curve.usig", "-o", "curve.csv"])
        wheel = ["--pulses-per-rev", "60"]
        speed, words = ["speed", "run.wav", *wheel], ["encoder", "words.u32", "--mode", "1", *wheel]
        if "--rate" in self.run(["encoder", "--help"]).stdout.decode():
            words += ["--raw", "u32", "--rate", "100000"]
        writers = {
            "speed --csv": [*speed, "--csv", "out.csv"],
            "speed --pairs": [*speed, "--pairs", "out.usig"],
            "speed --curve": [*speed, "--curve", "out.usig"],
            "speed --plot png": [*speed, "--plot", "out.png"],
            "speed --plot svg": [*speed, "--plot", "out.svg"],
            "encoder --csv": [*words, "--csv", "out.csv"],
            "downsample wav": ["downsample", "run.wav", "out.wav", "--ratio", "2.5"],
            "downsample flac": ["downsample", "run.wav", "out.flac", "--ratio", "2", "--gain", "0.5"],
            "downsample csv": ["downsample", "run.wav", "out.csv", "--ratio", "8"],
            "downsample f32": ["downsample", "run.wav", "out.f32", "--ratio", "3"],
            "simulate": ["simulate", "out.wav", "--duration", "4", "--truth", "other.csv"],
            "export": ["export", "speed.usig", "-o", "out.csv"],
            "import": ["import", "curve.csv", "-o", "out.usig"],
            "pairs": ["pairs", "sort", "speed.usig", "-o", "out.usig"],
            "plot": ["plot", "speed.usig", "-o", "out.png"],
        }
        self.writers = {}
        for name, args in writers.items():
            output = self.folder / next(each for each in args if each.startswith("out."))
            started = time.monotonic()
            done = self.run(args)
            lasted = time.monotonic() - started
            if done.returncode != 0:
                sys.exit(f"hammer: cannot run {name}: {done.stderr.decode()}")
            self.writers[name] = (args, output, output.read_bytes(), lasted)
            output.unlink()
        self.inputs = {each.name for each in self.folder.iterdir()}

    def clean(self):
        """Removes what is no input; gives its names."""
        more = [each for each in self.folder.iterdir() if each.name not in self.inputs]
        for each in more:
            each.unlink()
        return {each.name for each in more}

    def kill_writer(self, name):
        args, output, new, lasted = self.writers[name]
        output.write_bytes(OLD)
        process = subprocess.Popen([self.program, *args], cwd=self.folder, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL)
        time.sleep(random.uniform(0, 1.1 * lasted))
        process.send_signal(signal.SIGKILL)
        killed = process.wait() != 0
        left = output.read_bytes()
        pictures = output.suffix in (".png", ".svg")
        self.need(left == OLD or left == new or (pictures and abs(len(left) - len(new)) < 64),
                  f"{name}: {len(left)} bytes, neither the old file nor the new one")
        if not killed:
            self.need(left != OLD, f"{name}: ended well, but the file is the old one")
        return killed, left != OLD, len(self.clean() - {output.name})

    def settings(self, *args):
        return self.run(["settings", *args, "--file", "settings.db"])

    def value(self):
        read = self.settings("get", "count")
        return int(read.stdout.split()[-1]) if read.returncode == 0 else None

    def kill_settings(self, number):
        """The value is the one from before or the new one; the database can be read and written."""
        before = self.value()
        process = subprocess.Popen([self.program, "settings", "set", "count", str(number), "--file", "settings.db"],
                                   cwd=self.folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(random.uniform(0, 0.03))
        process.send_signal(signal.SIGKILL)
        killed = process.wait() != 0
        after = self.value()
        self.need(after in (before, number) and (killed or after == number),
                  f"settings: {before} became {after}, {number} was to be written (killed: {killed})")
        return killed

    def kill(self, count=500):
        self.prepare()
        killed = new = beside = 0
        for i in range(count * 3 // 4):
            ended, whole, more = self.kill_writer(list(self.writers)[i % len(self.writers)])
            killed, new, beside = killed + ended, new + whole, beside + more
        self.settings("set", "count", "0")
        for i in range(count - count * 3 // 4):
            killed += self.kill_settings(i + 1)
        print(f"{count} runs of {len(self.writers) + 1} writers, {killed} killed in time: {new} files whole and new, the "
              f"others as before, {beside} temporary files left beside them")

    def disk(self, places=500):
        self.prepare()
        runs = 0
        for name, (args, output, new, _) in self.writers.items():
            # A drawing is whole without the empty lines behind it.
            most = len(new.rstrip() if output.suffix == ".svg" else new)
            rooms = {*range(min(most, places)), *range(max(most - places, 0), most),
                     *range(0, most, max(most // places, 1))}
            for room in sorted(rooms):
                runs += 1
                output.write_bytes(OLD)
                done = self.run(args, preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (room, room)))
                lines = done.stderr.decode().strip().splitlines()
                where = f"{name} with room for {room} of {most} bytes"
                self.need(done.returncode == 1, f"{where}: exit code {done.returncode}")
                self.need(lines and "cannot write" in lines[-1], f"{where}: says {lines}")
                self.need(output.read_bytes() == OLD, f"{where}: the file from before is lost")
                self.need(self.clean() <= {output.name, "other.csv"}, f"{where}: leaves a temporary file")
        self.settings("set", "count", "7")
        self.inputs.add("settings.db")
        size = (self.folder / "settings.db").stat().st_size
        for room in range(0, size + 1, max(size // places, 1)):
            runs += 1
            done = self.run(["settings", "set", "other", *map(str, range(3000)), "--file", "settings.db"],
                            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (room, room)))
            self.need(done.returncode == 1, f"settings with room for {room}: exit code {done.returncode}")
            self.need(self.value() == 7, f"settings with room for {room}: {self.value()} instead of 7")
        print(f"{runs} runs of {len(self.writers) + 1} writers without enough room")

    def share(self, seconds=60):
        self.settings("set", "count", "0")
        loop = ("i=0; while [ $SECONDS -lt {s} ]; do i=$((i+1)); \"$0\" settings set own{k} $i --file settings.db >/dev/null"
                " && \"$0\" settings set count $i --file settings.db >/dev/null || exit 1; done; echo $i")
        workers = [subprocess.Popen(["bash", "-c", loop.format(s=seconds, k=k), self.program], cwd=self.folder,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE) for k in range(3)]
        written = 0
        for k, worker in enumerate(workers):
            out, err = worker.communicate()
            self.need(worker.returncode == 0, f"process {k} failed: {err.decode().strip()}")
            if worker.returncode == 0:
                last = int(out)
                written += 2 * last
                read = self.settings("get", f"own{k}")
                self.need(read.stdout.split()[-1:] == [str(last).encode()],
                          f"process {k} wrote {last}, the database holds {read.stdout.decode().strip()}")
        print(f"three processes for {seconds} s: {written} transactions")


def main():
    if len(sys.argv) < 3 or sys.argv[2] not in ("kill", "disk", "share"):
        sys.exit(__doc__)
    random.seed(1)
    with tempfile.TemporaryDirectory() as folder:
        hammer = Hammer(str(Path(sys.argv[1]).resolve()), Path(folder))
        getattr(hammer, sys.argv[2])(*map(int, sys.argv[3:]))
    sys.exit(1 if hammer.faults else 0)


main()
