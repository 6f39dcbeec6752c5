"""Helpers of the scripts that run the program: a scratch folder, checks, and made-up pictures."""
import os
import random
import resource
import struct
import subprocess
import sys
import tempfile
import zlib
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
TIMEOUT = 120  # seconds; only a run that hangs takes so long, whatever the load of the machine
STAR = (ROOT / 'Samples/star.png').read_bytes()


class Program:
    """The binary under test, run in a scratch folder of its own."""

    def __init__(self, path):
        self.path = str(Path(path).resolve())
        self.environment = dict(os.environ)
        self.checks = self.failures = 0
        self.scratch = tempfile.TemporaryDirectory()
        self.folder = Path(self.scratch.name)

    def run(self, *arguments, memory=None, environment={}, answer=b'', cwd=None, umask=-1):
        """Exit status, below 0 for a signal, and standard error. A run that hangs is an exception."""
        limit = memory and (lambda: resource.setrlimit(resource.RLIMIT_AS, (memory, memory)))
        run = subprocess.run([self.path, *arguments], cwd=cwd or self.folder, input=answer, umask=umask,
                             env={**self.environment, **environment}, capture_output=True,
                             timeout=TIMEOUT, preexec_fn=limit)
        return run.returncode, run.stderr.decode(errors='replace')

    def content(self, name):
        """The bytes of a file, or None where there is none."""
        path = self.folder / name
        return path.read_bytes() if path.exists() else None

    def place(self, name, data):
        """Makes `data` the content of a file; None removes it."""
        (self.folder / name).unlink(missing_ok=True)
        if data is not None:
            (self.folder / name).write_bytes(data)

    def expect(self, what, true):
        self.checks += 1
        if not true:
            self.failures += 1
            print('FAILED', what)

    def finish(self):
        print(f'{self.checks} checks, {self.failures} failed')
        sys.exit(1 if self.failures or not self.checks else 0)


def chunk(kind, data=b'', length=None):
    head = struct.pack('>I', len(data) if length is None else length)
    return head + kind + data + struct.pack('>I', zlib.crc32(kind + data))


def png(width, height, *chunks):
    """An 8-bit RGBA file made of the given chunks between header and end."""
    header = chunk(b'IHDR', struct.pack('>IIBBBBB', width, height, 8, 6, 0, 0, 0))
    return b'\x89PNG\r\n\x1a\n' + header + b''.join(chunks) + chunk(b'IEND')


def noise(size):
    """A picture that does not compress. Writing it takes more memory than reading it."""
    bits = random.Random(size)
    rows = b''.join(b'\0' + bits.randbytes(4 * size) for _ in range(size))
    return png(size, size, chunk(b'IDAT', zlib.compress(rows, 0)))
