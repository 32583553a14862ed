"""A release: the files that `cmake --install` puts into a directory, the version that solvane.h gives them,
and the one time that every package says they have."""

import datetime
import glob
import hashlib
import os
import re
import shutil
import subprocess
import zipfile

# What formats that demand an owner or a licence are given.
OWNER = "see the owner"
DESCRIPTION = "Drives the electrical lines round a camera"

SBOM = "solvane.cdx.json"


def run(*command, **options):
    """Runs a program; its output is shown if it fails."""
    result = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, text=True, **options)
    if result.returncode != 0:
        raise SystemExit(f"{' '.join(command)}\nfailed with {result.returncode}:\n{result.stdout}")
    return result.stdout


def sha256(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def write(path, content, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, mode), "w", encoding="utf-8",
              newline="\n") as file:
        file.write(content)


class Release:
    """`root` has the files, `work` is a directory for what is made of them."""

    def __init__(self, source, build, work, output, time):
        self.source, self.build, self.work, self.output, self.time = source, build, work, output, time
        self.root = os.path.join(work, "files")
        # Not called Solvane.dll: a process knows a DLL by its name alone.
        self.managed = os.path.join(work, "managed", "Solvane.Managed.dll")
        run("cmake", "--install", build, "--prefix", self.root)
        with open(os.path.join(self.root, "include/solvane/solvane.h")) as file:
            self.version = re.search(r'^#define SOLVANE_VERSION "([\d.]+)"$', file.read(), re.M)[1]

    def package(self, end):
        return os.path.join(self.output, f"solvane-{self.version}{end}")

    def files(self):
        return sorted(os.path.relpath(os.path.join(directory, name), self.root)
                      for directory, _, names in os.walk(self.root) for name in names)

    def path(self, name):
        return os.path.join(self.root, name)

    def bindings(self, language, *endings):
        """The files of a binding to the library. What hosts' own tests use stays with the rig."""
        return [name for name in self.files()
                if re.fullmatch(rf"bindings/{language}/[^/]+({'|'.join(map(re.escape, endings))})", name)
                and "rig" not in os.path.basename(name).lower()]

    def when(self):
        return datetime.datetime.fromtimestamp(self.time, datetime.timezone.utc)

    def stage(self, name, contents):
        """A directory with these files, given as their paths in it and where they come from."""
        directory = os.path.join(self.work, name)
        for target, source in contents.items():
            path = os.path.join(directory, target)
            os.makedirs(os.path.dirname(path), exist_ok=True)
            shutil.copyfile(source, path)
            os.chmod(path, 0o644)
            os.utime(path, (self.time, self.time))
        return directory

    def zip(self, archive, contents, level=6):
        """A zip of the same bytes for the same files, which are given by name as paths or as bytes."""
        with zipfile.ZipFile(archive, "w") as file:
            for name, content in contents.items():
                entry = zipfile.ZipInfo(name, self.when().timetuple()[:6])
                entry.create_system = 3  # whose modes these are
                mode = 0o644
                if not isinstance(content, bytes):
                    mode = 0o755 if os.access(content, os.X_OK) else 0o644
                    with open(content, "rb") as source:
                        content = source.read()
                entry.external_attr = (0o100000 | mode) << 16
                entry.compress_type = zipfile.ZIP_DEFLATED
                file.writestr(entry, content, compresslevel=level)


def archive(release):
    """The zip of everything but the symbols, and the symbols, which unpack into the same directory."""
    symbols = [name for name in release.files() if name.endswith(".debug")]
    files = [name for name in release.files() if name not in symbols and name != "SHA256SUMS"]
    write(release.path("SHA256SUMS"),
          "".join(f"{sha256(release.path(name))}  {name}\n" for name in files))
    top = f"solvane-{release.version}-win64"
    # The symbols are 200 MB: 7 % larger, they are packed in half the time.
    for end, names, level in (("", ["SHA256SUMS", *files], 6), ("-symbols", symbols, 3)):
        path = release.package(f"-win64{end}.zip")
        release.zip(path, {f"{top}/{name}": release.path(name) for name in names}, level)
        yield path


class Signature:
    """Signs with the certificate of a PKCS #12 file, whose password is in the environment."""

    def __init__(self, certificate, timestamp):
        self.certificate, self.timestamp = certificate, timestamp

    def files(self, release):
        """Every DLL and program. Not the rig's driver, which is for Wine's kernel only and which no PC shall
        trust."""
        for path in glob.glob(f"{release.root}/**/*.dll", recursive=True) + \
                glob.glob(f"{release.root}/**/*.exe", recursive=True) + [release.managed]:
            self.sign(release, path)

    def sign(self, release, path):
        signed = path + ".signed"
        # From a file, because every user of the machine sees a program's arguments.
        password = os.path.join(release.work, "password")
        write(password, os.environ.get("SOLVANE_SIGN_PASSWORD", ""), 0o600)
        run("osslsigncode", "sign", "-pkcs12", self.certificate, "-readpass", password,
            "-h", "sha256", "-n", "Solvane", "-time", str(release.time),
            *(["-ts", self.timestamp] if self.timestamp else []), "-in", path, "-out", signed)
        shutil.copymode(path, signed)
        os.replace(signed, path)
