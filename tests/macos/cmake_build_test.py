#!/usr/bin/env python3
"""Builds and installs the project for macOS on another system, as CMake does on a Mac, and checks what
comes of it: places, structure, architectures, and what is needed of the system. The compiler is clang, the
linker lld; the SDK is our own declarations and stubs.

  cmake_build_test.py SOURCES CLANG++ LD64.LLD LLVM-LIPO CMAKE DITTO FOLDER

FOLDER is emptied first. DITTO packs the uninstaller. Ends with 77 if something is missing."""

import os
import pathlib
import plistlib
import re
import shutil
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts/macos"))

# pylint: disable=wrong-import-position
from apple_tools import HERE, cxx_headers, run_or_skip
from bundle_lint import macho, objc
from sysroot import write_sysroot

PROJECT = FOLDER = pathlib.Path()
TOOLS, CMAKE, DITTO = [], "", ""
# By the names that a Mac has for them.
LLVM_TOOLS = {"libtool": "llvm-libtool-darwin", "install_name_tool": "llvm-install-name-tool",
              "strip": "llvm-strip"}
GOOGLETEST = pathlib.Path("/usr/src/googletest")
UTF8PROC_HEADER = pathlib.Path("/usr/include/utf8proc.h")
# What the library takes of utf8proc, whose sources are not at hand.
UTF8PROC = """#include <utf8proc.h>
utf8proc_ssize_t utf8proc_encode_char(utf8proc_int32_t c, utf8proc_uint8_t* to) { return c && to ? 1 : 0; }
utf8proc_int32_t utf8proc_tolower(utf8proc_int32_t c) { return c; }
"""


def llvm_tool(name):
    """Returns the path of a command beside the linker."""
    return pathlib.Path(os.path.realpath(shutil.which(TOOLS[1]))).with_name(name)


def run(*command, **options):
    command = [os.fspath(word) for word in command]
    done = subprocess.run(command, capture_output=True, text=True, check=False, **options)
    if done.returncode:
        raise RuntimeError(f"{' '.join(command)}\n{done.stdout}{done.stderr}")
    return done.stdout


def prepare():
    """Writes the stand-in for the SDK, the commands, and the sources of utf8proc."""
    shutil.rmtree(FOLDER, ignore_errors=True)
    for name in ("sdk", "tools", "utf8proc"):
        (FOLDER / name).mkdir(parents=True)
    write_sysroot(FOLDER / "sdk", TOOLS[0])
    commands = {name: llvm_tool(llvm) for name, llvm in LLVM_TOOLS.items()}
    commands |= {"clang": llvm_tool("clang"), "clang++": shutil.which(TOOLS[0]),
                 "ld64.lld": shutil.which(TOOLS[1]), "lipo": shutil.which(TOOLS[2])}
    for name, command in commands.items():
        (FOLDER / "tools" / name).symlink_to(command)
    (FOLDER / "utf8proc/utf8proc.c").write_text(UTF8PROC, encoding="utf-8")
    (FOLDER / "utf8proc/utf8proc.h").symlink_to(UTF8PROC_HEADER)


def configure(source, build, *options, **environment):
    return run(CMAKE, "-G", "Ninja", "-S", source, "-B", build,
               f"-DCMAKE_TOOLCHAIN_FILE={HERE}/darwin.cmake", f"-DKX_APPLE_TOOLS={FOLDER}/tools",
               f"-DKX_APPLE_SDK={FOLDER}/sdk", *options, env=os.environ | environment)


def configure_project(build, *options, **environment):
    configure(PROJECT, build, f"-DFETCHCONTENT_SOURCE_DIR_UTF8PROC={FOLDER}/utf8proc", f"-DKX_DITTO={DITTO}",
              "-DKX_BUILD_TESTS=OFF", *options, **environment)


def tree(folder):
    """Returns {path below the folder: what a link names, or "" for a file}; folders are left out."""
    found = {}
    for parent, folders, files in os.walk(folder):
        for name in files + [f for f in folders if os.path.islink(os.path.join(parent, f))]:
            path = os.path.join(parent, name)
            found[os.path.relpath(path, folder)] = os.readlink(path) if os.path.islink(path) else ""
    return found


class CMakeBuild(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        prepare()
        cls.build = FOLDER / "build"
        configure_project(cls.build)
        run(CMAKE, "--build", cls.build)
        run(CMAKE, "--install", cls.build, "--prefix", "/opt", env=os.environ | {"DESTDIR": str(FOLDER / "root")})
        cls.installed = FOLDER / "root/opt"
        cls.bundle = cls.build / "VersionCheck.bundle"
        cls.framework = cls.build / "QuillmoorKX.framework"
        cls.uninstaller = cls.build / "examples/Tallyframe Uninstaller.app/Contents/MacOS/Tallyframe Uninstaller"

    def programs(self):
        return (self.bundle / "Contents/MacOS/VersionCheck", self.framework / "QuillmoorKX", self.uninstaller)

    def test_is_for_both_architectures_and_the_documented_system(self):
        for path in self.programs():
            slices = macho.slices(path.read_bytes())
            self.assertEqual([s.architecture for s in slices], ["x86_64", "arm64"], path)
            for slice_ in slices:
                self.assertEqual(slice_.minimum_system, (13, 3), path)

    def test_keeps_the_choice_of_the_user(self):
        build = FOLDER / "chosen"
        for options, environment in (
                (("-DCMAKE_OSX_ARCHITECTURES=arm64", "-DCMAKE_OSX_DEPLOYMENT_TARGET=14.0"), {}),
                ((), {"CMAKE_OSX_ARCHITECTURES": "arm64", "MACOSX_DEPLOYMENT_TARGET": "14.0"})):
            shutil.rmtree(build, ignore_errors=True)
            configure_project(build, *options, **environment)
            flags = (build / "build.ninja").read_text(encoding="utf-8")
            self.assertIn("-arch arm64", flags)
            self.assertNotIn("-arch x86_64", flags)
            # Only a Mac's CMake reads the system from the environment.
            self.assertEqual(set(re.findall(r"-mmacosx-version-min=(\S+)", flags)), {"14.0"} if options else set())

    @unittest.skipUnless(GOOGLETEST.exists(), "the sources of GoogleTest are not installed")
    def test_configures_its_tests(self):
        build = FOLDER / "with_tests"
        configure_project(build, "-DKX_BUILD_TESTS=ON", f"-DFETCHCONTENT_SOURCE_DIR_GOOGLETEST={GOOGLETEST}")
        self.assertIn("test_contract_services", (build / "build.ninja").read_text(encoding="utf-8"))

    def test_needs_libraries_of_the_system_only(self):
        for path in self.programs():
            for slice_ in macho.slices(path.read_bytes()):
                others = [name for name in slice_.libraries if not name.startswith(("/usr/lib/", "/System/"))]
                self.assertEqual(others, [], path)

    def test_the_bundle_is_whole(self):
        languages = ("en", "de")
        expected = {"Contents/Info.plist", "Contents/MacOS/VersionCheck",
                    "Contents/Resources/Tallyframe Uninstaller.zip"}
        expected |= {f"Contents/Resources/{language}.lproj/{name}" for language in languages
                     for name in ("InfoPlist.strings", "VersionCheck.nib")}
        self.assertEqual(tree(self.bundle), dict.fromkeys(expected, ""))
        done = subprocess.run([PROJECT / "scripts/macos/lint-bundle", "--unsigned", self.bundle],
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.stdout, done.stderr, done.returncode), ("", "", 0))

    def test_the_bundle_shows_its_class_only(self):
        for slice_ in macho.slices((self.bundle / "Contents/MacOS/VersionCheck").read_bytes()):
            self.assertEqual(slice_.kind, macho.MH_BUNDLE)
            self.assertEqual(list(objc.Metadata(slice_).classes), ["RK_MessageViewPane"])
            self.assertEqual(slice_.defined, {"_OBJC_CLASS_$_RK_MessageViewPane"})

    def test_the_archive_has_the_uninstaller(self):
        unpacked = FOLDER / "unpacked"
        run(DITTO, "-x", "-k", self.bundle / "Contents/Resources/Tallyframe Uninstaller.zip", unpacked)
        contents = "Tallyframe Uninstaller.app/Contents"
        self.assertEqual(tree(unpacked), {
            f"{contents}/Info.plist": "", f"{contents}/MacOS/Tallyframe Uninstaller": "",
            f"{contents}/Resources/Read Me.txt": "", f"{contents}/Resources/Help.txt": "Read Me.txt"})
        program = unpacked / contents / "MacOS/Tallyframe Uninstaller"
        self.assertTrue(os.access(program, os.X_OK))
        self.assertEqual(program.read_bytes(), self.uninstaller.read_bytes())
        # Without a signature it would not start on arm64.
        signed = {s.architecture for s in macho.slices(program.read_bytes()) if s.signature}
        self.assertIn("arm64", signed)

    def test_the_framework_is_whole(self):
        headers = {path.name for path in (PROJECT / "objc").glob("KX*.h")} | {"QuillmoorKX.h"}
        files = [f"Headers/{name}" for name in headers] + ["Modules/module.modulemap", "QuillmoorKX",
                                                           "Resources/Info.plist"]
        expected = {f"Versions/A/{name}": "" for name in files}
        expected |= {name: f"Versions/Current/{name}" for name in ("Headers", "Modules", "QuillmoorKX", "Resources")}
        expected["Versions/Current"] = "A"
        self.assertEqual(tree(self.framework), expected)
        info = plistlib.loads((self.framework / "Resources/Info.plist").read_bytes())
        self.assertEqual({key: info.get(key) for key in ("CFBundleExecutable", "CFBundleIdentifier",
                                                         "CFBundlePackageType", "LSMinimumSystemVersion")},
                         {"CFBundleExecutable": "QuillmoorKX", "CFBundleIdentifier": "com.quillmoor.kx",
                          "CFBundlePackageType": "FMWK", "LSMinimumSystemVersion": "13.3"})
        self.assertRegex(info["CFBundleShortVersionString"], r"^\d+\.\d+\.\d+$")

    def test_the_framework_shows_what_its_headers_declare(self):
        text = "".join(path.read_text(encoding="utf-8") for path in (PROJECT / "objc").glob("KX*.h"))
        classes = set(re.findall(r"^@interface (KX\w+) :", text, re.MULTILINE))
        self.assertGreater(len(classes), 5)
        declared = {f"_OBJC_CLASS_$_{name}" for name in classes}
        declared |= {f"_{name}" for name in re.findall(r"^FOUNDATION_EXPORT [^;(]*?(\w+)[;(]", text, re.MULTILINE)}
        for slice_ in macho.slices((self.framework / "QuillmoorKX").read_bytes()):
            self.assertEqual(declared - slice_.defined, set())
            self.assertEqual({s for s in slice_.defined if s.startswith("__Z")}, set())

    def test_the_installation_is_whole(self):
        self.assertEqual(tree(self.installed / "lib/quillmoor/VersionCheck.bundle"), tree(self.bundle))
        self.assertEqual(tree(self.installed / "Library/Frameworks/QuillmoorKX.framework"), tree(self.framework))
        self.assertTrue((self.installed / "lib/quillmoor/InstallerSections.plist").exists())
        self.assertTrue((self.installed / "lib/libkx.a").exists())
        self.assertTrue((self.installed / "include/quillmoor/files/KXFileManager.h").exists())
        self.assertEqual(list(self.installed.rglob("*_macos.h")), [])

    def test_a_product_can_use_the_framework(self):
        """As a module, and by its headers. Our declarations of the system are for C++, and in no module."""
        frameworks = self.installed / "Library/Frameworks"
        source = FOLDER / "product.mm"
        source.write_text("""@import QuillmoorKX;
#import <QuillmoorKX/KXTaskEx.h>
int main() {
    NSString* said = [KXTaskEx stringFromTask:@"/bin/echo" arguments:nil];
    [KXLog appendLog:@"%@", [KXLocalPaths libraryDirectory:YES]];
    return said != nil && [KXFileManager fileExistsAtPath:said] ? 0 : 1;
}
""", encoding="utf-8")
        for architecture in ("x86_64", "arm64"):
            run(FOLDER / "tools/clang++", f"--target={architecture}-apple-macos13.3", "-isysroot", FOLDER / "sdk",
                f"-B{FOLDER}/tools", "-fuse-ld=lld", "-stdlib=libc++", "-std=c++17", "-D_LIBCPP_HAS_NO_LOCALIZATION",
                "-fmodules", "-fcxx-modules", f"-fmodules-cache-path={FOLDER}/modules", "-fno-implicit-module-maps",
                f"-fmodule-map-file={frameworks}/QuillmoorKX.framework/Modules/module.modulemap",
                "-Werror", "-Wincomplete-umbrella", "-F", frameworks, "-framework", "QuillmoorKX",
                "-framework", "CoreFoundation", "-framework", "Foundation", "-lobjc", "-o", FOLDER / "product", source)
            slice_, = macho.slices((FOLDER / "product").read_bytes())
            self.assertIn("@rpath/QuillmoorKX.framework/Versions/A/QuillmoorKX", slice_.libraries)

    def test_a_product_can_use_the_library(self):
        build = FOLDER / "library-user"
        configure(PROJECT / "examples/library-user", build, f"-DCMAKE_PREFIX_PATH={self.installed}",
                  f"-DCMAKE_FIND_ROOT_PATH={self.installed}", "-DCMAKE_OSX_ARCHITECTURES=x86_64;arm64",
                  "-DCMAKE_OSX_DEPLOYMENT_TARGET=13.3")
        run(CMAKE, "--build", build)
        self.assertEqual(len(macho.slices((build / "library-user").read_bytes())), 2)


def main():
    global PROJECT, TOOLS, CMAKE, DITTO, FOLDER
    PROJECT, TOOLS = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:5]
    CMAKE, DITTO, FOLDER = sys.argv[5], sys.argv[6], pathlib.Path(sys.argv[7])
    return run_or_skip([*TOOLS, "ninja"], lambda: (
        cxx_headers(TOOLS[0]) / "string", UTF8PROC_HEADER, *map(llvm_tool, ("clang", *LLVM_TOOLS.values()))))


if __name__ == "__main__":
    sys.exit(main())
