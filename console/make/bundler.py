"""The sources of the console as the scripts and the style sheet that a browser gets, by esbuild."""
import glob
import json
import os
import re
import shutil
import subprocess
from typing import Any

CONSOLE = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
VENDOR = CONSOLE + "/vendor"
# Indentation, which has no meaning in templates either.
WHITE = re.compile(rb"\n[ \t]+")
# What imports mean, from the folder of what is made. Of preact the folder: its package.json files name
# the sources, those of its hooks too.
KNOWN = {"preact": "./vendor/preact", "htm": "./vendor/htm/src/index.mjs",
         "made-api": "./api.json", "made-site": "./site.json"}


class Bundler:
    """esbuild, in a folder that holds what is made for the sources. They are copied there, since the names
    of scripts depend on the ways from the folder to what they are made of."""

    def __init__(self, esbuild: str, folder: str) -> None:
        self._esbuild = esbuild
        self._folder = folder
        copy_without_indentation(CONSOLE + "/src", folder + "/src")
        shutil.copytree(VENDOR, folder + "/vendor", dirs_exist_ok=True)

    def one(self, source: str) -> bytes:
        """A source with all that it imports."""
        target = self._folder + "/one" + os.path.splitext(source)[1]
        self._run(source, "--outfile=" + target)
        with open(target, "rb") as file:
            return file.read()

    def parts(self) -> tuple[dict[str, bytes], list[str], str]:
        """The scripts by their names, the names of those that are needed at the start, and the text of
        their sources."""
        target = self._folder + "/scripts"
        shutil.rmtree(target, ignore_errors=True)
        self._run("src/main.js", "--splitting", "--outdir=" + target, "--entry-names=[name]-[hash]",
                  "--chunk-names=part-[hash]", "--metafile=" + self._folder + "/meta.json")
        scripts = {}
        for entry in os.scandir(target):
            with open(entry.path, "rb") as file:
                scripts[entry.name] = file.read()
        first, sources = needed_at_start(json.loads(read_text(self._folder + "/meta.json"))["outputs"])
        return scripts, first, "".join(read_text("%s/%s" % (self._folder, path)) for path in sources)

    def _run(self, source: str, *more: str) -> None:
        subprocess.run(
            [self._esbuild, source, "--bundle", "--minify", "--main-fields=source,main", "--format=esm",
             "--target=es2022", "--charset=utf8", "--legal-comments=none", "--log-level=warning", *more,
             *("--alias:%s=%s" % pair for pair in KNOWN.items())],
            check=True, cwd=self._folder, stdin=subprocess.DEVNULL)


def copy_without_indentation(source: str, target: str) -> None:
    shutil.rmtree(target, ignore_errors=True)
    shutil.copytree(source, target)
    for path in glob.glob(target + "/**/*.js", recursive=True):
        with open(path, "r+b") as file:
            content = WHITE.sub(b"\n", file.read())
            file.seek(0)
            file.truncate()
            file.write(content)


def read_text(path: str) -> str:
    with open(path, encoding="utf-8") as file:
        return file.read()


def needed_at_start(outputs: dict[str, Any]) -> tuple[list[str], list[str]]:
    """The scripts that the one that starts imports, itself first, and the sources in them."""
    names = [path for path, about in outputs.items() if about.get("entryPoint") == "src/main.js"]
    for path in names:
        names += [one["path"] for one in outputs[path]["imports"]
                  if one["kind"] == "import-statement" and one["path"] not in names]
    return ([os.path.basename(path) for path in names],
            sorted(source for path in names for source in outputs[path]["inputs"] if source.startswith("src/")))
