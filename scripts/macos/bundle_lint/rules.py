"""The rules about the bundle itself: its Info.plist, its executable, its place among the sections, its
languages and its signature. interface_rules.py has those about the interface file."""

from __future__ import annotations

import re
import stat

from bundle_lint import macho, signature
from bundle_lint.bundle import read_property_list
from bundle_lint.platform_classes import SECTION, is_kind_of
from bundle_lint.strings_files import StringsError, read_strings, specifiers

IDENTIFIER = re.compile(r"[A-Za-z0-9-]+(\.[A-Za-z0-9-]+)+")
VERSION = re.compile(r"\d+(\.\d+){0,2}")
PLACEHOLDER = re.compile(r"@\w+@|\$[({]\w+[)}]")
LOCALISED = "InstallerSectionTitle"

# The keys without which the Installer does not show the bundle's pane: (what the value must match, and
# what to do).
REQUIRED = {
    "CFBundleIdentifier": (IDENTIFIER, "give the reverse domain name of the plug-in, of letters, digits, - and ."),
    "CFBundleExecutable": (re.compile(r"[^/\0]+"), "give the name of the file in Contents/MacOS"),
    "CFBundlePackageType": (re.compile("BNDL"), "write BNDL"),
    "CFBundleInfoDictionaryVersion": (re.compile(r"6\.0"), "write 6.0"),
    "CFBundleShortVersionString": (VERSION, "write up to three numbers with dots between them"),
    "CFBundleVersion": (VERSION, "write up to three numbers with dots between them"),
    "NSMainNibFile": (re.compile(r"[^/\0]+(?<!\.nib)(?<!\.xib)"), "give the interface file's name, without its suffix"),
    "NSPrincipalClass": (re.compile(r"[A-Za-z_]\w*"), "give the section's class, InstallerSection for the usual one"),
    LOCALISED: (re.compile(r".*\S.*", re.DOTALL), "give the title in the list of steps"),
}
OPTIONAL_TEXTS = ("CFBundleName", "CFBundleDevelopmentRegion", "CFBundleDisplayName", "CFBundleGetInfoString",
                  "CFBundleSignature", "InstallerSectionDescription", "LSMinimumSystemVersion",
                  "NSHumanReadableCopyright")

# The Installer's own sections in the order in which it shows them.
BUILT_IN = ["Introduction", "ReadMe", "License", "Target", "PackageSelection", "Install"]

LOAD_SECTIONS = {"__mod_init_func": "an initialiser or a constructor of C or C++",
                 "__init_offsets": "an initialiser or a constructor of C or C++"}


def check_info(bundle):
    path = bundle.contents / "Info.plist"
    if not bundle.info:
        return
    for key, (pattern, advice) in REQUIRED.items():
        value = bundle.info.get(key)
        if value is None:
            bundle.finding(path, "info", f"{key} is missing; {advice}")
        elif not isinstance(value, str):
            bundle.finding(path, "info", f"{key} is not a string; {advice}")
        elif not pattern.fullmatch(value):
            bundle.finding(path, "info", f'{key} is "{value}"; {advice}')
    for key in OPTIONAL_TEXTS:
        if not isinstance(bundle.info.get(key, ""), str):
            bundle.finding(path, "info", f"{key} is not a string; make it one")
    for key, value in bundle.info.items():
        if isinstance(value, str) and PLACEHOLDER.search(value):
            bundle.finding(path, "info", f'{key} is "{value}", in which the build replaced nothing; '
                                         "configure the file")


def check_executable(bundle, architectures):
    path = bundle.executable
    if not bundle.slices:
        return
    if not path.stat().st_mode & stat.S_IXUSR:
        bundle.finding(path, "executable", "it is not executable; chmod 755 it")
    present = [s.architecture for s in bundle.slices]
    for name in architectures:
        if name not in present:
            bundle.finding(path, "architecture", f"{name} is missing (there is {', '.join(present)}); build "
                           "for it, and join with lipo -create")
    for slice_ in bundle.slices:
        if slice_.kind != macho.MH_BUNDLE:
            bundle.finding(path, "executable", f"for {slice_.architecture} it is not a loadable bundle; link "
                                               "it with -bundle")
        check_libraries(bundle, slice_)


def check_libraries(bundle, slice_):
    for library in slice_.libraries:
        if library.startswith(("/usr/lib/", "/System/Library/")):
            continue
        inside = re.match(r"@(rpath|loader_path/\.\.(/Frameworks)?)/", library)
        if inside and (bundle.contents / "Frameworks" / library[inside.end():]).exists():
            continue
        bundle.finding(bundle.executable, "library", f"it needs {library}, which other Macs lack; link it "
                       "statically, or put it into Contents/Frameworks and refer to it by @rpath")


def check_classes(bundle, prefixes, owners):
    """`owners` has the classes of the bundles seen so far, each with the executable that defines it."""
    path = bundle.executable
    for metadata in filter(None, bundle.metadata):
        for name in metadata.classes:
            if not name.startswith(tuple(prefixes)):
                bundle.finding(path, "prefix", f"the class {name} lacks the prefix {' or '.join(prefixes)}, and "
                               "all plug-ins share one process; rename it")
            owner = owners.setdefault(name, path)
            if owner != path:
                bundle.finding(path, "class", f"the class {name} is in {owner} also, and which of the two is "
                               "used is undefined; rename one")
        principal = bundle.text("NSPrincipalClass")
        if principal and is_kind_of(principal, SECTION, metadata.classes) is not True:
            bundle.finding(bundle.contents / "Info.plist", "class", f"NSPrincipalClass {principal} is neither "
                           f"{SECTION} nor a class below it in the executable; correct the name")


def check_load(bundle):
    path = bundle.executable
    for slice_, metadata in zip(bundle.slices, bundle.metadata):
        for section, what in LOAD_SECTIONS.items():
            if slice_.section(section):
                bundle.finding(path, "load", f"code runs when the bundle is loaded: {what} ({section}); create "
                               "the object at its first use")
        for name in metadata.loads if metadata else []:
            bundle.finding(path, "load", f"code runs when the bundle is loaded: +[{name} load]; remove the method")


def check_sections(bundle):
    path = bundle.path.parent / "InstallerSections.plist"
    content, error = read_property_list(path)
    order = content.get("SectionOrder") if isinstance(content, dict) else None
    if error or not isinstance(order, list) or not all(isinstance(name, str) for name in order):
        reason = error or "no array of strings SectionOrder"
        bundle.finding(path, "sections", f"it cannot be used ({reason}); without it no plug-in is shown; put "
                                         "it beside the bundle, with a dictionary that has SectionOrder")
        return
    for name in sorted({name for name in order if order.count(name) > 1}):
        bundle.finding(path, "sections", f"{name} is in the list more than once; keep one")
    for name in order:
        if name in BUILT_IN or (path.parent / name / "Contents/Info.plist").exists():
            continue
        advice = "put the bundle beside the file" if name.endswith(".bundle") else \
            f"a built-in section is one of {', '.join(BUILT_IN)}, a plug-in has the file name of its bundle"
        bundle.finding(path, "sections", f"there is no section {name}; {advice}")
    if bundle.path.name not in order:
        bundle.finding(path, "sections", f"{bundle.path.name} is not in the list, so it is never shown; add it")
    built_in = [name for name in order if name in BUILT_IN]
    if built_in != sorted(built_in, key=BUILT_IN.index):
        bundle.finding(path, "sections", f"the built-in sections have the order {', '.join(built_in)}; keep to "
                                         f"{', '.join(BUILT_IN)}")
    if "Install" not in order:
        bundle.finding(path, "sections", "Install is not in the list, so nothing would be installed; add it")


def check_strings(bundle):
    languages = bundle.languages()
    if not languages:
        return
    region = bundle.text("CFBundleDevelopmentRegion") or "en"
    if bundle.resources / f"{region}.lproj" not in languages:
        bundle.finding(bundle.resources, "strings", f"there is {languages[0].name} but no {region}.lproj, so users "
                       f"of other languages may get {languages[0].stem}; add the folder for "
                       "CFBundleDevelopmentRegion")
    names = {"InfoPlist.strings"}.union(*({f.name for f in folder.glob("*.strings")} for folder in languages))
    for name in sorted(names):
        check_strings_file(bundle, [folder / name for folder in languages])


def check_strings_file(bundle, paths):
    found = {}
    for path in paths:
        try:
            found[path] = read_strings(path)
        except OSError:
            bundle.finding(path, "strings", "it is missing; translate it into this language also")
        except StringsError as error:
            bundle.finding(path, "strings", f"it {error}")
    everything = {}
    for strings in found.values():
        everything = {**strings, **everything}
    if paths[0].name == "InfoPlist.strings":
        everything.setdefault(LOCALISED, bundle.text(LOCALISED))
    for path, strings in found.items():
        for key, example in everything.items():
            if key not in strings:
                bundle.finding(path, "strings", f'"{key}" is missing; translate it into this language also')
            elif not strings[key].strip():
                bundle.finding(path, "strings", f'"{key}" is empty; translate it')
            elif specifiers(strings[key]) != specifiers(example):
                bundle.finding(path, "strings", f'"{key}" has other format specifiers than in another language; '
                                                "use the same")
        for key in strings if path.name == "InfoPlist.strings" and bundle.info else []:
            if key not in bundle.info:
                bundle.finding(path, "strings", f'"{key}" is not a key of Info.plist, so it has no effect; '
                                                "correct the name")


def check_signature(bundle, release):
    path = bundle.executable
    if not bundle.slices:
        return
    for slice_ in bundle.slices:
        if slice_.signature is None:
            bundle.finding(path, "signature", f"the code for {slice_.architecture} is not signed; sign the "
                           "finished bundle with codesign")
            continue
        try:
            directories, certified = signature.code_directories(slice_)
        except signature.SignatureError as error:
            bundle.finding(path, "signature", f"the signature for {slice_.architecture} cannot be read ({error}); "
                                              "sign the bundle anew")
            continue
        for directory in directories:
            check_code_directory(bundle, slice_, directory)
        if release and (not certified or directories[0].flags & signature.ADHOC):
            bundle.finding(path, "signature", f"the code for {slice_.architecture} is signed without a "
                           "certificate; sign with a Developer ID")
    check_seal(bundle)


def check_code_directory(bundle, slice_, directory):
    path = bundle.executable
    if directory.flags & signature.LINKER_SIGNED:
        bundle.finding(path, "signature", f"the code for {slice_.architecture} is signed by the linker alone, "
                       "which seals nothing else of the bundle; sign the finished bundle with codesign")
        return
    if not directory.seals_code(slice_.data):
        bundle.finding(path, "signature", f"the code for {slice_.architecture} was changed after it was signed; "
                                          "sign as the last step")
    if directory.identifier != bundle.text("CFBundleIdentifier"):
        bundle.finding(path, "signature", f'it is signed as "{directory.identifier}", not as '
                       "CFBundleIdentifier; sign the bundle anew, not the executable alone")
    for slot, name in ((signature.SLOT_INFO, "Info.plist"),
                       (signature.SLOT_RESOURCES, "_CodeSignature/CodeResources")):
        file = bundle.contents / name
        sealed = directory.seals(slot, file.read_bytes()) if file.is_file() else None
        if sealed is None:
            bundle.finding(file, "signature", "it is not sealed; sign the finished bundle, not the executable alone")
        elif not sealed:
            bundle.finding(file, "signature", "it was changed after the bundle was signed; sign as the last step")


def check_seal(bundle):
    sealed = signature.read_seal(bundle.contents / "_CodeSignature/CodeResources")
    if sealed is None:
        bundle.finding(bundle.contents / "_CodeSignature/CodeResources", "signature",
                       "it is missing or not a seal; sign the finished bundle with codesign")
        return
    present = signature.present_files(bundle.contents, bundle.executable.name)
    for name in present:
        path = bundle.contents / name
        if name not in sealed:
            bundle.finding(path, "signature", "it was added after the bundle was signed; sign as the last step")
        elif not signature.is_unchanged(path, sealed[name]):
            bundle.finding(path, "signature", "it was changed after the bundle was signed; sign as the last step")
    for name, entry in sealed.items():
        optional = isinstance(entry, dict) and (entry.get("optional") or "cdhash" in entry)
        if name not in present and not optional:
            bundle.finding(bundle.contents / name, "signature", "it was removed after the bundle was signed; sign "
                                                                "as the last step")
