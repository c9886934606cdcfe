"""Drives the running folvane through the accessibility tree (AT-SPI), by the
names a screen reader speaks: opens the example chat, points it at the
loopback server, asks, watches the answer stream with its page buttons,
regenerates, filters the chat list, opens a PDF from a second launch and
deletes its chat. Then the settings: adds the loopback server as an
OpenAI-compatible server, sees it refuse a wrong key and take the right one,
starts a chat with a PDF that goes to it, and changes the text size under the
open chat. Saves a screenshot of each step to $SHOTS; any step that does not
happen fails the run with the step's name.

Qt keeps popups (menus, the error popover) out of the tree; a screen reader
follows them by focus, and so does the walkthrough: their entries are read
from AT-SPI's focus events. Everything else is found by role and name.
"""
import json
import os
import shutil
import subprocess
import sys
import time

import pyatspi
from gi.repository import GLib

from chat_server import KEY, WRONG_KEY_MESSAGE

SHOTS = os.environ["SHOTS"]
WAIT = float(os.environ.get("WALKTHROUGH_WAIT", "60"))


class StepFailed(Exception):
    pass


def walk(node):
    yield node
    try:
        count = node.childCount
    except Exception:
        return
    for i in range(count):
        try:
            child = node.getChildAtIndex(i)
        except Exception:
            continue
        if child is not None:
            yield from walk(child)


def showing(node):
    try:
        return node.getState().contains(pyatspi.STATE_SHOWING)
    except Exception:
        return False


def find_all(root, role, name=None, contains=None, visible=True):
    found = []
    for node in walk(root):
        try:
            if node.getRoleName() != role:
                continue
            if name is not None and node.name != name:
                continue
            if contains is not None and contains not in (node.name or ""):
                continue
        except Exception:
            continue
        if visible and not showing(node):
            continue
        found.append(node)
    return found


def find(root, role, name=None, contains=None, visible=True):
    nodes = find_all(root, role, name, contains, visible)
    return nodes[0] if nodes else None


def wait_for(what, probe, timeout=WAIT):
    end = time.time() + timeout
    while time.time() < end:
        result = probe()
        if result:
            return result
        time.sleep(0.3)
    raise StepFailed(what)


def application():
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.name == "Folvane":
            return app
    return None


def click(node, button=1, double=False):
    extents = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    x, y = extents.x + extents.width // 2, extents.y + extents.height // 2
    subprocess.run(["xdotool", "mousemove", str(x), str(y), "click",
                    "--repeat", "2" if double else "1", str(button)], check=True)


def press(node, action):
    actions = node.queryAction()
    for i in range(actions.nActions):
        if actions.getName(i) == action:
            actions.doAction(i)
            return
    raise StepFailed(f"'{node.name}' has no action {action}")


def keys(*names):
    subprocess.run(["xdotool", "key", *names], check=True)


def type_text(text):
    subprocess.run(["xdotool", "type", "--delay", "20", text], check=True)


def raise_window(title):
    ids = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", title],
                         capture_output=True, text=True).stdout.split()
    if not ids:
        raise StepFailed(f"no window named {title}")
    subprocess.run(["xdotool", "windowactivate", "--sync", ids[0]], check=False)
    time.sleep(0.5)


def shot(name):
    path = os.path.join(SHOTS, f"walkthrough-{name}.png")
    subprocess.run(["import", "-window", "root", path], check=True)
    print("saved", path)


def yellow_share(extents):
    """The share of the screen's pixels inside extents that are highlight
    yellow: red and green high, blue low."""
    path = os.path.join(os.environ["WORK"], "screen.png")
    subprocess.run(["import", "-window", "root", path], check=True)
    crop = f"{extents.width}x{extents.height}+{extents.x}+{extents.y}"
    result = subprocess.run(
        ["convert", path, "-crop", crop, "+repage", "-fx", "(r>0.7 && g>0.7 && b<0.5) ? 1 : 0",
         "-format", "%[fx:mean]", "info:"], capture_output=True, text=True)
    try:
        return float(result.stdout.strip())
    except ValueError:
        return 0.0


class Focus:
    """What has the keyboard focus, as a screen reader learns it: from AT-SPI's
    focus events, which also reach popups."""

    def __init__(self):
        self.node = None
        pyatspi.Registry.registerEventListener(self._changed, "object:state-changed:focused")

    def _changed(self, event):
        if event.detail1:
            self.node = event.source

    def now(self):
        context = GLib.MainContext.default()
        while context.iteration(False):
            pass
        return self.node

    def named(self, role, contains):
        node = self.now()
        try:
            if node is not None and node.getRoleName() == role and contains in (node.name or ""):
                return node
        except Exception:
            pass
        return None


def choose_in_menu(focus, entry):
    """Walks an open popup menu upwards, from its last entry, until the entry
    that has the focus is the one wanted, and takes it."""
    for _ in range(12):
        keys("Up")
        try:
            wait_for(entry, lambda: focus.named("menu item", entry), timeout=3)
        except StepFailed:
            continue
        keys("Return")
        return
    raise StepFailed(f"the menu entry {entry}")


def fill(field, text):
    click(field)
    keys("ctrl+a")
    type_text(text)


def requests():
    """What the loopback server was asked, one record a request."""
    with open(os.path.join(os.environ["WORK"], "requests.jsonl")) as log:
        return [json.loads(line) for line in log if line.strip()]


def transcript(window):
    return find(window, "document web", "Transcript", visible=False)


def answered(chat):
    page = transcript(chat)
    return (find(page, "push button", "Regenerate response", visible=False)
            and not find(page, "label", "Assistant is typing...", visible=False)
            and find(page, "label", contains="every block after it", visible=False))


def top_level(app, role, name=None, contains=None):
    """One of the program's windows, without walking into the others."""
    for window in app:
        try:
            if window.getRoleName() != role:
                continue
            if name is not None and window.name != name:
                continue
            if contains is not None and contains not in (window.name or ""):
                continue
        except Exception:
            continue
        return window
    return None


def chat_rows(start):
    return [row.name for row in find_all(find(start, "list", "Chats"), "list item")]


def main():
    app = wait_for("folvane on the accessibility bus", application)
    start = wait_for("the start window", lambda: find(app, "frame", "Welcome to Folvane"))

    # Open the example chat with a double click on its row.
    click(wait_for("the example chat's row", lambda: find(start, "list item", "Example Chat")),
          double=True)
    chat = wait_for("the chat window", lambda: find(app, "frame", contains="Example Chat"))
    wait_for("the example's answer with its page button",
             lambda: find(transcript(chat), "push button", "Page 1", visible=False))
    shot("example-chat")

    # Point the chat at the loopback server: Chat Settings, "API Provider:".
    press(find(chat, "push button", "Chat Settings"), "Press")
    settings = wait_for("the chat settings", lambda: find(app, "dialog", "Chat Settings"))
    click(find(settings, "combo box", "OpenAI"))
    click(wait_for("the custom model in the provider list",
                   lambda: find(app, "list item", "Loopback")))
    wait_for("the provider chosen", lambda: find(settings, "combo box", "Loopback"))
    shot("chat-settings")
    keys("Escape")
    wait_for("the model in the title", lambda: find(app, "frame", "Example Chat — Loopback"))

    # Ask: type into the message field and press Return.
    click(find(chat, "text", "Message"))
    type_text("How is the chain secured?")
    keys("Return")
    wait_for("the answer streaming", lambda: find(
        transcript(chat), "label", contains="Proof of work", visible=False))
    shot("answer-streaming")

    wait_for("the answer complete", lambda: answered(chat))
    wait_for("the cost in the title", lambda: find(app, "frame", contains="· ~$"))
    asked = [r["model"] for r in requests() if r["question"] == "How is the chain secured?"]
    if asked != ["gpt-4"]:
        raise StepFailed(f"the question sent with Loopback's model gpt-4, not {asked}")
    answers = find_all(transcript(chat), "section", "Assistant message", visible=False)
    if len(answers) != 2 or not find(answers[-1], "push button", "Page 1", visible=False):
        raise StepFailed("the answer's page button")
    shot("answer-done")

    # Its page button shows the cited page in the viewer with the passage
    # painted yellow.
    viewer = find(chat, "filler", "Document viewer")
    if not viewer:
        raise StepFailed("the document viewer")
    extents = viewer.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    if yellow_share(extents) > 0.005:
        raise StepFailed("a viewer with nothing highlighted yet")
    click(find(answers[-1], "push button", "Page 1", visible=False))
    time.sleep(2)
    shot("page-reference")
    wait_for("the cited passage painted yellow in the viewer",
             lambda: yellow_share(extents) > 0.005, timeout=20)

    # Regenerate: the answer is asked for again and replaces the last one.
    click(find(transcript(chat), "push button", "Regenerate response", visible=False))
    wait_for("the regenerated answer streaming",
             lambda: find(transcript(chat), "label", "Assistant is typing...", visible=False))
    shot("regenerating")
    wait_for("the regenerated answer complete", lambda: answered(chat))
    if len(find_all(transcript(chat), "section", "Assistant message", visible=False)) != 2:
        raise StepFailed("regenerating replaced the last answer")

    # Filter the chat list in the start window.
    raise_window("Welcome to Folvane")
    click(find(start, "text", "Filter..."))
    type_text("zzz")
    wait_for("no row for zzz", lambda: chat_rows(start) == [])
    keys("ctrl+a")
    type_text("example")
    wait_for("the example chat for 'example'", lambda: chat_rows(start) == ["Example Chat"])
    shot("filtered")
    keys("ctrl+a", "BackSpace")

    # A second launch with a PDF of the user's opens a chat for it in the
    # running program.
    mine = os.path.join(os.environ["WORK"], "My Notes.pdf")
    shutil.copy(os.path.join(os.environ["XDG_DATA_HOME"], "co.tessavel.Folvane",
                             "Bitcoin Whitepaper.pdf"), mine)
    launched = subprocess.run([os.environ["FOLVANE"], mine], timeout=60)
    if launched.returncode != 0:
        raise StepFailed("the second launch")
    wait_for("the new chat's window", lambda: find(app, "frame", contains="My Notes"))
    wait_for("the new chat's row", lambda: chat_rows(start) == ["My Notes", "Example Chat"])
    time.sleep(2)
    shot("second-launch")

    # Delete it: the row's menu key, "Delete...", and the question's "Delete".
    raise_window("Welcome to Folvane")
    click(find(start, "list item", "My Notes"))
    keys("Menu")
    time.sleep(0.5)
    keys("Down", "Down", "Return")
    question = wait_for("the deletion question", lambda: find(app, "alert", "Delete"))
    if not find(question, "label", "Are you sure you want to delete this conversation?"):
        raise StepFailed("the deletion question's words")
    shot("delete-question")
    click(find(question, "push button", "Delete"))
    wait_for("the chat gone from the list", lambda: chat_rows(start) == ["Example Chat"])
    wait_for("the chat's window closed",
             lambda: not find(app, "frame", contains="My Notes"), timeout=10)
    shot("deleted")

    settings_scenario(app, start)


def settings_scenario(app, start):
    focus = Focus()
    with open(os.path.join(os.environ["WORK"], "port")) as port:
        endpoint = f"http://127.0.0.1:{port.read().strip()}/v1/chat/completions"
    model_id = "walkthrough-model"

    # The settings from the start window's button, then the "Models" tab.
    raise_window("Welcome to Folvane")
    press(find(start, "push button", "Settings"), "Press")
    settings = wait_for("the settings window", lambda: top_level(app, "filler", "Settings"))
    click(find(settings, "page tab", "Models"))
    models = wait_for("the Models tab", lambda: find(settings, "filler", "Models"))

    # "Add", "OpenAI-compatible Server (beta)", and its form filled in with a
    # wrong key.
    click(find(models, "push button", "Add"))
    choose_in_menu(focus, "OpenAI-compatible Server (beta)")
    form = wait_for("the server's form", lambda: find(models, "filler", "OpenAI-compatible Server"))
    fill(find(form, "text", "Name"), "My Server")
    fill(find(form, "text", "API Endpoint"), endpoint)
    fill(find(form, "text", "Model ID"), model_id)
    fill(find(form, "password text", "API Key"), "fvk-wrong-key")
    click(find(form, "push button", "Save"))

    # The server refuses it, and the popover says so in the server's words;
    # nothing is saved.
    error = wait_for("the server's words in the error popover",
                     lambda: focus.named("label", WRONG_KEY_MESSAGE))
    shot("server-rejected-key")
    if not error.name.startswith("Sorry, OpenAI has rejected your request."):
        raise StepFailed(f"the popover's words: {error.name}")
    checks = [r for r in requests() if r["question"] == "How are you?"]
    if [r["key"] for r in checks] != ["wrong"]:
        raise StepFailed(f"one check with the wrong key, not {checks}")
    if find(models, "list item", contains="My Server"):
        raise StepFailed("a server saved although its check failed")
    keys("Escape")

    # The right key passes the check and saves the server. It does not take
    # the default from the server that the chats use already: "Set as
    # Default" does.
    fill(find(form, "password text", "API Key"), KEY)
    click(find(form, "push button", "Save"))
    wait_for("the server saved", lambda: find(models, "list item", contains="My Server"))
    if find(form, "label", "DEFAULT"):
        raise StepFailed("the new server made the default over the one in use")
    press(find(form, "push button", "Set as Default"), "Press")
    wait_for("the server marked DEFAULT", lambda: find(form, "label", "DEFAULT"))
    defaults = [entry.name for entry in find_all(models, "list item", contains="DEFAULT")]
    if len(defaults) != 1 or not defaults[0].startswith("My Server"):
        raise StepFailed(f"the server's entry as the only default, not {defaults}")
    checks = [r for r in requests() if r["question"] == "How are you?"]
    if [(r["key"], r["model"], r["stream"], r["path"]) for r in checks] != [
            ("wrong", model_id, False, "/v1/chat/completions"),
            ("right", model_id, False, "/v1/chat/completions")]:
        raise StepFailed(f"the check with the right key, not {checks}")
    shot("server-saved")
    keys("ctrl+w")
    wait_for("the settings closed", lambda: not top_level(app, "filler", "Settings"), timeout=10)

    # A new chat with a PDF: "Start a new chat..." and the file's path.
    paper = os.path.join(os.environ["WORK"], "Loopback Paper.pdf")
    shutil.copy(os.path.join(os.environ["XDG_DATA_HOME"], "co.tessavel.Folvane",
                             "Bitcoin Whitepaper.pdf"), paper)
    raise_window("Welcome to Folvane")
    # A click, not the button's action: the dialog holds the program until it
    # closes, and the action's answer with it.
    click(find(start, "push button", "Start a new chat..."))
    dialog = wait_for("the file dialog", lambda: top_level(app, "dialog", "Start a new chat..."))
    fill(find(dialog, "text", "File name:"), paper)
    keys("Return")
    chat = wait_for("the new chat on the server",
                    lambda: top_level(app, "frame", "Loopback Paper — My Server"))

    # Ask: the question goes to the server with its model and its key.
    click(wait_for("the message field", lambda: find(chat, "text", "Message")))
    type_text("What does proof of work protect?")
    keys("Return")
    wait_for("the server's answer", lambda: answered(chat))
    asked = [r for r in requests() if "What does proof of work protect?" in (r["question"] or "")]
    if [(r["key"], r["model"], r["stream"], r["path"]) for r in asked] != [
            ("right", model_id, True, "/v1/chat/completions")]:
        raise StepFailed(f"the question sent to the server, not {asked}")
    shot("new-chat-answer")

    # The text size, with the chat open: Ctrl+, in the chat's window brings
    # the settings back, "Appearance", and the "Text Size" slider three steps
    # (6 points) up. AT-SPI does not tell the page's font size, but it does
    # tell the answer's box, which grows with its text.
    def answer_height():
        answer = find(transcript(chat), "label", contains="every block after it", visible=False)
        return answer.queryComponent().getExtents(pyatspi.DESKTOP_COORDS).height

    before = answer_height()
    keys("ctrl+comma")
    settings = wait_for("the settings again", lambda: top_level(app, "filler", "Settings"))
    click(find(settings, "page tab", "Appearance"))
    size = wait_for("the text size", lambda: find(settings, "slider", "Text Size"))
    size.queryComponent().grabFocus()
    keys("Right", "Right", "Right")
    wait_for("the size three steps up", lambda: size.queryValue().currentValue == 3, timeout=20)
    wait_for("the open chat's answer in larger text",
             lambda: answer_height() > before * 1.3, timeout=20)
    shot("text-size")
    raise_window("Loopback Paper — My Server")
    shot("text-size-chat")
    press(find(settings, "push button", "Reset", visible=False), "Press")
    wait_for("the answer's text size back",
             lambda: answer_height() < before * 1.15, timeout=20)


if __name__ == "__main__":
    try:
        main()
    except StepFailed as failure:
        print(f"FAIL: {failure}", file=sys.stderr)
        try:
            shot("failure")
        except Exception:
            pass
        sys.exit(1)
    print("walkthrough done")
