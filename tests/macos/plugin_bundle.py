"""Makes a good plug-in bundle for the tests: with the project's own Info.plist and sections, and an interface
file and strings that are written here."""

import pathlib
import plistlib
import shutil
import stat

import adhoc_signature

IDENTIFIER = "com.quillmoor.tallyframe.versioncheck"
EXECUTABLE = "VersionCheck"

# What the interface file has: the objects as (class, replaced by), the outlets and the action.
OBJECTS = {"owner": ("NSCustomObject", "InstallerSection"), "pane": ("NSCustomObject", "RK_MessageViewPane"),
           "view": ("NSCustomView", "NSView"), "title": ("NSTextField", None),
           "description": ("NSTextField", None), "button": ("NSButton", None)}
OUTLETS = [("owner", "firstPane", "pane"), ("pane", "contentView", "view"),
           ("pane", "titleText", "title"), ("pane", "descriptionText", "description"),
           ("pane", "uninstallBtn", "button")]
ACTIONS = [("button", "uninstall:", "pane")]
LANGUAGES = {"en": "Version Check", "de": "Versionsprüfung"}


def write_nib(path, objects=None, outlets=None, actions=None):
    """Writes a keyed archive with the members that the connections need."""
    archived, references = ["$null"], {}

    def add(thing):
        archived.append(thing)
        return plistlib.UID(len(archived) - 1)

    def of_class(name, **members):
        return add({"$class": add({"$classname": name, "$classes": [name, "NSObject"]}), **members})

    def array(items):
        return of_class("NSArray", **{"NS.objects": items})

    for name, (kind, replaced) in (objects or OBJECTS).items():
        members = {"NSClassName": add(replaced)} if replaced else {}
        references[name] = of_class(kind, **members)
    connections = []
    for kind, table in (("NSNibOutletConnector", OUTLETS if outlets is None else outlets),
                        ("NSNibControlConnector", ACTIONS if actions is None else actions)):
        for source, label, destination in table:
            connections.append(of_class(kind, NSLabel=add(label), NSSource=references[source],
                                        NSDestination=references[destination]))
    tip = {"NSFile": add("NSToolTipHelpKey"), "NSMarker": add("Opens it")}
    connections.append(of_class("NSIBHelpConnector", NSDestination=references["button"], **tip))
    data = of_class("NSIBObjectData", NSRoot=references["owner"], NSConnections=array(connections),
                    NSObjectsKeys=array([r for n, r in references.items() if n != "owner"]))
    path.write_bytes(plistlib.dumps({"$version": 100000, "$archiver": "NSKeyedArchiver", "$objects": archived,
                                     "$top": {"IB.objectdata": data}}, fmt=plistlib.FMT_BINARY))


class PluginBundle:
    """A bundle in `folder`, with InstallerSections.plist beside it."""

    def __init__(self, project, folder, executable):
        self.folder = pathlib.Path(folder)
        self.path = self.folder / "VersionCheck.bundle"
        self.contents = self.path / "Contents"
        self.resources = self.contents / "Resources"
        self.executable = self.contents / "MacOS" / EXECUTABLE
        self.info = self.contents / "Info.plist"
        self.sections = self.folder / "InstallerSections.plist"
        self.nib = self.resources / "VersionCheck.nib"
        self.xib = self.resources / "VersionCheck.xib"
        self.executable.parent.mkdir(parents=True)
        self.resources.mkdir()
        shutil.copyfile(project / "resources/InstallerSections.plist", self.sections)
        template = (project / "resources/Info.plist.in").read_text(encoding="utf-8")
        self.info.write_text(template.replace("@PROJECT_VERSION@", "1.2.3")
                             .replace("@development_language@", "en")
                             .replace("@localizations@", "<string>en</string><string>de</string>"), encoding="utf-8")
        shutil.copyfile(project / "resources/VersionCheck.xib", self.xib)
        write_nib(self.nib)
        for language, title in LANGUAGES.items():
            (self.resources / f"{language}.lproj").mkdir()
            self.strings(language).write_text(f'/* the step */\n"InstallerSectionTitle" = "{title}";\n',
                                              encoding="utf-8")
        self.use(executable)

    def strings(self, language, name="InfoPlist"):
        return self.resources / f"{language}.lproj/{name}.strings"

    def use(self, executable):
        shutil.copyfile(executable, self.executable)
        self.executable.chmod(stat.S_IRWXU)

    def sign(self, **options):
        adhoc_signature.sign(self.path, IDENTIFIER, EXECUTABLE, **options)

    def edit_info(self, **changes):
        edit_plist(self.info, changes)

    def edit(self, path, old, new):
        text = path.read_text(encoding="utf-8")
        if text.count(old) < 1:
            raise ValueError(f"{path} lacks {old}")
        path.write_text(text.replace(old, new, 1), encoding="utf-8")


def edit_plist(path, changes):
    """Sets keys of a property list; None removes one."""
    content = plistlib.loads(path.read_bytes())
    content.update(changes)
    path.write_bytes(plistlib.dumps({k: v for k, v in content.items() if v is not None}))
