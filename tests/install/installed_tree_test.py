"""The installed tree, as somebody meets it who has nothing else: installed into a folder, moved to
another one, found by pkg-config and by CMake, its headers compiled each alone, its examples built
and played. SourcesTakenIn is slow: it compiles the library twice, as a part of another project.
"""

import os
import pathlib
import subprocess
import tempfile
import unittest

SOURCE, BUILD, CXX, CC = (os.environ[name] for name in ("SOURCE", "BUILD", "CXX", "CC"))
STRICT = ["-pedantic", "-Wall", "-Wextra", "-Wundef", "-Werror"]

PROJECT = """
cmake_minimum_required(VERSION 3.25)
project(user C CXX)
set(CMAKE_CXX_STANDARD 17)
%s
add_executable(user_browser %s/examples/browser.c)
target_link_libraries(user_browser PRIVATE html5_video::html5_video)
"""


def run(*command, **options):
    """The command's output; a failure shows all of it."""
    done = subprocess.run(list(map(str, command)), text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)
    assert done.returncode == 0, f"{' '.join(map(str, command))}\n{done.stdout}"
    return done.stdout


class Users(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))

    def build_with_cmake(self, project, *options):
        build = self.folder / f"built_{project.name}"
        run("cmake", "-S", project, "-B", build, f"-DCMAKE_CXX_COMPILER={CXX}",
            f"-DCMAKE_C_COMPILER={CC}", *options)
        run("cmake", "--build", build, "--parallel", "2")
        return build


class Installed(Users):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        first = cls.folder / "first"
        run("cmake", "--install", BUILD, "--prefix", first)
        cls.prefix = cls.folder / "moved" / "here"
        cls.prefix.parent.mkdir()
        first.rename(cls.prefix)
        (pkgconfig,) = cls.prefix.glob("lib/**/pkgconfig")
        cls.environment = {**os.environ, "PKG_CONFIG_PATH": str(pkgconfig),
                           "LD_LIBRARY_PATH": str(pkgconfig.parent)}
        (cls.examples,) = cls.prefix.glob("share/doc/*/examples")


class Headers(Installed):
    def test_each_stands_alone(self):
        root = self.prefix / "include" / "html5_video-1"
        headers = sorted(root.rglob("*.h"))
        self.assertGreater(len(headers), 40)
        for header in headers:
            text = header.read_text()
            name = header.relative_to(root)
            self.assertRegex(text.splitlines()[0], r"^(//|/\*) Public\. ", name)
            for compiler, standard, language in ((CXX, "c++17", "c++"), (CC, "c99", "c")):
                if language == "c++" or "Plain C" in text:
                    run(compiler, f"-std={standard}", *STRICT, "-fsyntax-only", "-x", language, "-",
                        f"-I{root}", input=f'#include "{name}"\nextern int unit;\n')


class InstalledTree(Installed):
    def test_pkg_config_builds_the_examples(self):
        browser = self.folder / "pc_browser"
        flags = run("pkg-config", "--cflags", "--libs", "html5_video", env=self.environment).split()
        run(CC, "-std=c99", self.examples / "browser.c", "-o", browser, *flags)
        self.plays(browser)
        run(CXX, "-std=c++17", self.examples / "console_host.cpp", "-o", self.folder / "pc_host",
            *flags, "-pthread")

    def test_cmake_builds_the_examples(self):
        build = self.build_with_cmake(self.examples, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        self.plays(build / "example_browser")

    def plays(self, browser):
        """To the end, with the installed player in Python."""
        with subprocess.Popen([self.examples / "player.py"], stderr=subprocess.DEVNULL) as player:
            try:
                run(browser, "clock:0.2", env=self.environment, timeout=60)
            finally:
                player.terminate()

    def test_the_browser_finds_its_console(self):
        browser = self.prefix / "bin" / "html5-video-browser"
        if not browser.exists():
            self.skipTest("the browser is not built")
        # By the path in the program itself: no LD_LIBRARY_PATH.
        run(browser, "--console", "--exec", "quit", timeout=60)

    def test_no_file_names_the_prefix_or_the_sources(self):
        for path in filter(pathlib.Path.is_file, self.prefix.rglob("*")):
            for folder in (SOURCE, str(self.folder)):
                self.assertNotIn(folder.encode(), path.read_bytes(), path)


class SourcesTakenIn(Users):
    def builds(self, name, way):
        project = self.folder / name
        project.mkdir()
        (project / "CMakeLists.txt").write_text(PROJECT % (way, SOURCE))
        browser = self.build_with_cmake(project) / "user_browser"
        done = subprocess.run([browser], capture_output=True, text=True)
        self.assertEqual(done.returncode, 2, done.stderr)
        self.assertIn("Usage", done.stderr)

    def test_by_the_folder(self):
        # Nothing of ours is an error there: with these our sources and headers have many warnings.
        self.builds("subdirectory", f"""
add_compile_options(-Wall -Wextra -Wpadded -Wsuggest-attribute=pure -Werror)
set(CMAKE_COMPILE_WARNING_AS_ERROR ON)
add_subdirectory({SOURCE} html5_video)""")

    def test_by_fetching(self):
        self.builds("fetched", f"""
include(FetchContent)
FetchContent_Declare(html5_video SOURCE_DIR {SOURCE})
FetchContent_MakeAvailable(html5_video)""")
