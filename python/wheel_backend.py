"""Makes the wheel of qvclient with nothing but the standard library."""

import base64
import hashlib
import io
import pathlib
import re
import tarfile
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
PACKAGE = "qvclient"
PROJECT = dict(
    re.findall(r'^([a-z-]+) = "(.*)"$', (HERE / "pyproject.toml").read_text(), re.MULTILINE)
)
STEM = f"{PACKAGE}-{PROJECT['version']}"
METADATA = (
    f"Metadata-Version: 2.1\nName: {PROJECT['name']}\nVersion: {PROJECT['version']}\n"
    f"Summary: {PROJECT['description']}\nRequires-Python: {PROJECT['requires-python']}\n"
)
WHEEL = "Wheel-Version: 1.0\nGenerator: wheel_backend\nRoot-Is-Purelib: true\nTag: py3-none-any\n"


def package_files():
    return [path for path in sorted((HERE / PACKAGE).iterdir()) if path.suffix in (".py", ".typed")]


def write_wheel(directory, contents):
    """A wheel is a zip file with a list of checksums in it."""
    info = f"{STEM}.dist-info"
    contents = {**contents, f"{info}/METADATA": METADATA, f"{info}/WHEEL": WHEEL}
    record = ""
    name = f"{STEM}-py3-none-any.whl"
    with zipfile.ZipFile(pathlib.Path(directory) / name, "w", zipfile.ZIP_DEFLATED) as wheel:
        for path, text in contents.items():
            digest = base64.urlsafe_b64encode(hashlib.sha256(text.encode()).digest()).rstrip(b"=")
            record += f"{path},sha256={digest.decode()},{len(text.encode())}\n"
            wheel.writestr(path, text)
        wheel.writestr(f"{info}/RECORD", record + f"{info}/RECORD,,\n")
    return name


def build_wheel(wheel_directory, config_settings=None, metadata_directory=None):
    contents = {f"{PACKAGE}/{path.name}": path.read_text("utf-8") for path in package_files()}
    return write_wheel(wheel_directory, contents)


def build_editable(wheel_directory, config_settings=None, metadata_directory=None):
    return write_wheel(wheel_directory, {f"{PACKAGE}.pth": f"{HERE}\n"})


def build_sdist(sdist_directory, config_settings=None):
    name = f"{STEM}.tar.gz"
    with tarfile.open(pathlib.Path(sdist_directory) / name, "w:gz") as archive:
        for path in [HERE / "pyproject.toml", pathlib.Path(__file__).resolve(), *package_files()]:
            archive.add(path, f"{STEM}/{path.relative_to(HERE)}")
        metadata = tarfile.TarInfo(f"{STEM}/PKG-INFO")
        metadata.size = len(METADATA)
        archive.addfile(metadata, io.BytesIO(METADATA.encode()))
    return name
