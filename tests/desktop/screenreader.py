#!/usr/bin/env python3
"""The console as a screen reader knows it: screenreader.py [OPTIONS] NAME runs one scenario over
the accessibility bus, without a look at a pixel. Needs a display and a message bus of its own.

To add one, write a function here whose parameters are the console and the reader, mark it with
@scenario and name it in CMakeLists.txt."""

import os
import re
import sys

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from desktop import Console, Failure, check, press, run_and_dispose, wait_for  # noqa: E402
from scenarios import parse_options  # noqa: E402

SCENARIOS = {}

# What a user meets with the Tab key or in passing, from top to bottom, in both languages.
CONTROLS = [
    ("label", "Source file", "ملف المصدر"),
    ("push button", "Open", "افتح"),
    ("push button", "Run", "شغّل"),
    ("push button", "Stop", "أوقف"),
    ("text", "Program output", "مخرجات البرنامج"),
    ("push button", "Content direction", "اتجاه المحتوى"),
    ("push button", "Language", "اللغة"),
    ("push button", "Choose TARN", "اختر TARN"),
    ("push button", "Clear output", "امسح المخرجات"),
    ("text", "Find output", "ابحث في المخرجات"),
    ("push button", "Find", "ابحث"),
    ("label", "Program input", "إدخال البرنامج"),
    ("text", "Program input", "إدخال البرنامج"),
    ("push button", "Send", "أرسل"),
    ("push button", "Close input", "أغلق الإدخال"),
]
LABELLED = list(zip(*[names for role, *names in CONTROLS if role == "label"]))
TAB_ORDER = [names for role, *names in CONTROLS[4:] if role != "label"]
MENUS = [("File", "ملف"), ("Edit", "تحرير"), ("View", "عرض"), ("Language", "اللغة"),
         ("Help", "مساعدة")]


def scenario(function):
    SCENARIOS[function.__name__] = function
    return function


class Reader:
    """What a screen reader asks of the console, and what it is told if it listens."""

    def __init__(self, console, listens=True):
        self._console = console
        self.told = []
        if listens:
            self._listen()

    def _listen(self):
        self._listener = Atspi.EventListener.new(self._note)
        for kind in ["object:text-changed", "object:property-change:accessible-name",
                     "object:property-change:accessible-description", "object:state-changed:focused",
                     "object:text-caret-moved"]:
            check(self._listener.register(kind), f"there are no events {kind}")

    def _note(self, event):
        self.told.append((event.type, role_of(event.source), event.source.get_name(),
                          event.detail1, event.any_data))

    def wait_for(self, condition, what):
        def listened():
            while GLib.MainContext.default().iteration(False):
                pass
            try:
                return condition()
            except GLib.Error:  # an object that has gone meanwhile
                return None

        return wait_for(listened, what)

    def open(self, source):
        self._console.open(source)
        self.application = self.wait_for(self._find, "the console on the accessibility bus")

    def _find(self):
        desktop = Atspi.get_desktop(0)
        for number in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(number)
            if application and application.get_process_id() == self._console.process.pid:
                return application
        return None

    def all(self, within=None):
        """Every object of the console's windows, in reading order."""
        parent = within or self.application
        for number in range(parent.get_child_count()):
            child = parent.get_child_at_index(number)
            if child:
                yield child
                yield from self.all(child)

    def named(self, role, name):
        """The object with the role and the name."""
        return self.wait_for(
            lambda: next((o for o in self.all()
                          if role_of(o) == role and o.get_name() == name), None),
            f"{role} {name!r}")

    def labelled_by(self, label):
        """The field that a label belongs to."""
        for relation in self.named("label", label).get_relation_set():
            if relation.get_relation_type() == Atspi.RelationType.LABEL_FOR:
                return relation.get_target(0)
        raise Failure(f"{label!r} labels nothing")

    def do(self, role, name):
        """Does what activating the object does."""
        target = self.named(role, name)
        self.wait_for(lambda: has(target, Atspi.StateType.ENABLED), f"{name!r} to be enabled")
        check(Atspi.Action.do_action(target, 0), f"cannot activate {name!r}")

    def output(self, name="Program output"):
        text = self.named("text", name)
        return Atspi.Text.get_text(text, 0, Atspi.Text.get_character_count(text))

    def heard(self, name="Program output"):
        """All that was announced as new in a text."""
        return "".join(data for kind, _, source, _, data in self.told
                       if kind == "object:text-changed:insert" and source == name)

    def wait_for_status(self, text):
        self.named("label", text)
        self.wait_for(lambda: any(kind == "object:property-change:accessible-name" and name == text
                                  for kind, _, name, _, _ in self.told),
                      f"the announcement of {text!r}")

    def texts_with(self, part):
        """What is shown of a text, wherever it stands."""
        return [o.get_name() for o in self.all() if part in o.get_name()]

    def focus(self):
        focused = [o for o in self.all() if has(o, Atspi.StateType.FOCUSED)]
        return focused[0].get_name() if focused else None


def role_of(accessible):
    """The name of the role. Newer versions of the bus and of Qt call buttons by newer names."""
    name = accessible.get_role_name()
    return {"button": "push button", "push button menu": "push button"}.get(name, name)


def has(accessible, state):
    return accessible.get_state_set().contains(state)


def words(text):
    """The text without line ends, which are announced together with their neighbours."""
    return re.sub("[\n\u2029]", "", text)


def check_controls(reader, language):
    found = [(role_of(o), o.get_name()) for o in reader.all()]
    at = 0
    for role, *names in CONTROLS:
        name = names[language]
        check((role, name) in found[at:], f"after {found[at - 1]}: no {role} {name!r} in {found}")
        at = found.index((role, name), at) + 1
    for control in reader.all():
        if has(control, Atspi.StateType.FOCUSABLE):
            check(control.get_name(), f"a {role_of(control)} without a name")
        check("<" not in control.get_description(), f"markup: {control.get_description()!r}")
    menus = [name for role, name in found if role == "menu item"]
    for names in MENUS:
        check(names[language] in menus, f"no menu {names[language]!r}")


@scenario
def names_and_roles(console, reader):
    """Every control says what it is, in both languages; a switch renames all."""
    reader.open(console.demo_programs / "greeting.tarn")
    check_controls(reader, 0)
    reader.do("menu item", "العربية")
    reader.named("frame", "طرفية TARN")
    check_controls(reader, 1)
    reader.do("menu item", "English")
    reader.named("frame", "TARN Console")
    check_controls(reader, 0)
    console.quit()


@scenario
def labels_and_tab_order(console, reader):
    """Labels belong to their fields, and the Tab key goes in reading order, in both languages."""
    reader.open(console.script("lines -> line\nend\n"))
    console.run()
    reader.wait_for_status("Running")
    for language, key in enumerate(["ctrl+shift+8", "ctrl+shift+7"]):
        press(key)
        # The label and the field it belongs to, which has a name of its own.
        source, program_input = LABELLED[language]
        for label, of in [(source, str(console.source)), (program_input, program_input)]:
            field = reader.labelled_by(label)
            check(field.get_name() == of, f"{label!r} labels {field.get_name()!r}")
        press("ctrl+1")
        for names in TAB_ORDER:
            wanted = names[language]
            reader.wait_for(lambda name=wanted: reader.focus() == name, f"the focus on {wanted!r}")
            press("Tab")
    press("ctrl+period")
    console.wait_until_idle()
    console.quit()


@scenario
def a_conversation(console, reader):
    """Run, answer, read the answer and the outcome."""
    reader.open(console.demo_programs / "greeting.tarn")
    reader.do("push button", "Run")
    reader.wait_for_status("Running")
    for question, answer in [("What is your name?", "Sam"), ("How many times", "2")]:
        reader.wait_for(lambda text=question: text in reader.heard(), f"{question!r} to be heard")
        draft = reader.named("text", "Program input")
        reader.wait_for(lambda: has(draft, Atspi.StateType.ENABLED), "the input to be open")
        check(Atspi.EditableText.insert_text(draft, 0, answer, len(answer)), "cannot type")
        reader.do("push button", "Send")
    reader.wait_for_status("Returned status 0")
    reader.wait_for(lambda: "See you soon." in reader.heard(), "the last line")
    # Nothing is told once more when the text changes sides or the interface its language.
    output = reader.named("text", "Program output")
    press("ctrl+shift+3")
    reader.wait_for(
        lambda: Atspi.Text.get_text_attribute_value(output, 0, "direction") == "rtl",
        "the text to change sides")
    reader.named("text", "Program output")
    press("ctrl+shift+7")
    reader.named("frame", "طرفية TARN")
    press("ctrl+shift+8")
    reader.named("frame", "TARN Console")
    check(words(reader.heard()) == words(reader.output()),
          f"heard {reader.heard()!r} of {reader.output()!r}")
    console.quit()


@scenario
def reading_by_line_and_caret(console, reader):
    """The output is read line by line with the arrow keys."""
    lines = ["first line", "السطر الثاني", "third"]
    reader.open(console.script("".join(f"print {line}\n" for line in lines)))
    console.run()
    reader.wait_for_status("Returned status 0")
    press("ctrl+1", "ctrl+Home")
    output = reader.named("text", "Program output")
    start = 0
    for line in lines:
        reader.wait_for(lambda at=start: Atspi.Text.get_caret_offset(output) == at,
                        f"the caret at the start of {line!r}")
        read = Atspi.Text.get_text_at_offset(output, start, Atspi.TextBoundaryType.LINE_START)
        check(words(read.content) == line, f"read {read.content!r}")
        start += len(line) + 1
        press("Down", "Home")
    console.quit()


@scenario
def in_arabic(console, reader):
    """The same conversation in the Arabic interface, up to the outcome."""
    console.language = "ar"
    reader.open(console.script("اسأل ما اسمك؟ -> الاسم\nاطبع أهلا يا {الاسم}\n", "سؤال.ترن"))
    reader.do("push button", "شغّل")
    reader.wait_for_status("قيد التشغيل")
    reader.wait_for(lambda: "ما اسمك؟" in reader.heard("مخرجات البرنامج"), "the question")
    draft = reader.named("text", "إدخال البرنامج")
    reader.wait_for(lambda: has(draft, Atspi.StateType.ENABLED), "the input to be open")
    check(Atspi.EditableText.insert_text(draft, 0, "سلمى", len("سلمى")), "cannot type")
    reader.do("push button", "أرسل")
    reader.wait_for_status("انتهى البرنامج بالحالة 0")
    check("أهلا يا سلمى" in reader.output("مخرجات البرنامج"), "no answer")
    console.quit()


@scenario
def who_said_it(console, reader):
    """What colours tell the eye is told in words: what the program said, what went wrong, and what
    was typed."""
    reader.open(console.script("print said\nerror failed\nask Name? -> name\n"))
    console.run()
    reader.wait_for(lambda: "Name?" in reader.heard(), "the question")
    draft = reader.named("text", "Program input")
    reader.wait_for(lambda: has(draft, Atspi.StateType.ENABLED), "the input to be open")
    check(Atspi.EditableText.insert_text(draft, 0, "typed", len("typed")), "cannot type")
    reader.do("push button", "Send")
    reader.wait_for_status("Returned status 0")
    output = reader.named("text", "Program output")
    # Wherever the end of the run has put the reader.
    check(Atspi.Text.set_caret_offset(output, 0), "cannot move the caret")
    reader.wait_for(lambda: output.get_description() == "Program output", "the start")
    reader.named("label", "Returned status 0")
    told_before = len(reader.told)
    colours = set()
    for text, who in [("said", "Program output"), ("failed", "Program errors"),
                      ("typed", "Program input")]:
        at = reader.output().index(text)
        check(Atspi.Text.set_caret_offset(output, at), "cannot move the caret")
        reader.wait_for(lambda name=who: output.get_description() == name, f"{who!r}")
        colours.add(Atspi.Text.get_text_attribute_value(output, at, "fg-color"))
    check(len(colours) == 3, f"colours {colours}")
    changes = [kind for kind, _, name, *_ in reader.told[told_before:]
               if kind.endswith("accessible-description") and name == "Program output"]
    check(len(changes) == 2, f"the reader was told: {changes}")
    console.quit()


@scenario
def settings_by_keyboard(console, reader):
    """The settings say what they are, and switch the language."""
    reader.open(console.demo_programs / "greeting.tarn")
    press("ctrl+shift+comma")
    for role, label in [("combo box", "Interface language"), ("combo box", "Interface font"),
                        ("spin button", "Font size")]:
        field = reader.labelled_by(label)
        check(role_of(field) == role, f"{label!r} labels a {role_of(field)}")
    language = reader.labelled_by("Interface language")
    reader.wait_for(lambda: has(language, Atspi.StateType.FOCUSED), "the focus on the language")
    press("Home")
    reader.wait_for(lambda: language.get_name() == "العربية", "the other language")
    press("Return")
    reader.named("frame", "طرفية TARN")
    check_controls(reader, 1)
    console.wait_until_active()
    console.quit()


@scenario
def help_and_the_question(console, reader):
    """Dialogs can be read, and answered without a mouse."""
    reader.open(console.script("lines -> line\nend\n"))
    press("F1")
    reader.wait_for(lambda: reader.texts_with("choose the TARN executable"), "the text of the help")
    console.wait_for_dialog()
    press("Escape")
    console.wait_until_active()
    console.run()
    reader.wait_for_status("Running")
    press("ctrl+q")
    reader.wait_for(lambda: reader.texts_with("A program is still running."), "the question")
    reader.wait_for(lambda: reader.focus() == "Cancel", "the focus on what does no harm")
    reader.do("push button", "Stop and close")
    wait_for(lambda: console.process.poll() is not None, "the console to end")
    check(console.process.returncode == 0, console.log())


def main():
    options = parse_options(__doc__, SCENARIOS)
    Atspi.set_timeout(30_000, 60_000)
    console = Console(options.console, options.interpreter, options.pictures)
    console.demo_programs = options.demo_programs
    reader = Reader(console)
    return run_and_dispose(console, options.name, lambda: SCENARIOS[options.name](console, reader),
                           lambda: f"\nTold: {reader.told}")


if __name__ == "__main__":
    os.environ["LC_ALL"] = "C.UTF-8"
    os.environ["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"
    sys.exit(main())
