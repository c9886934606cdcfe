"""Drives the running folvane through the accessibility tree (AT-SPI), by the
names a screen reader speaks: opens the example chat, points it at the
loopback server, asks, watches the answer stream with its page buttons,
regenerates, filters the chat list, opens a PDF from a second launch and
deletes its chat. Saves a screenshot of each step to $SHOTS; any step that
does not happen fails the run with the step's name.

Qt keeps popup menus out of the tree (screen readers follow them by focus),
so the row menu is worked with keys; everything else is found by role and name.
"""
import os
import shutil
import subprocess
import sys
import time

import pyatspi

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


def transcript(window):
    return find(window, "document web", "Transcript", visible=False)


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

    def answered():
        page = transcript(chat)
        return (find(page, "push button", "Regenerate response", visible=False)
                and not find(page, "label", "Assistant is typing...", visible=False)
                and find(page, "label", contains="every block after it", visible=False))

    wait_for("the answer complete", answered)
    wait_for("the cost in the title", lambda: find(app, "frame", contains="· ~$"))
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
    wait_for("the regenerated answer complete", answered)
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
