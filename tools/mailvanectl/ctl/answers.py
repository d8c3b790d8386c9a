"""What becomes of an answer: standard output, standard error, the exit status."""
import json
import os
import sys

DONE, REFUSED, USAGE, NO_ANSWER = 0, 1, 2, 3


class NoAnswer(Exception):
    """The program ended without an answer; the system log says why."""


class Refused(Exception):
    """What was asked for is not done, and nothing has changed."""


def value_of(text):
    """A JSON text as a value."""
    try:
        return json.loads(text)
    except ValueError as problem:
        raise NoAnswer("the answer is no JSON") from problem


def complain(text):
    """A line on standard error."""
    print("mailvanectl: " + text, file=sys.stderr)


def _shows_all_letters():
    return (sys.stdout.encoding or "").lower().startswith("utf")


def refusal(action, status, value):
    """Why an answer is none that its action should give; "" when it is one."""
    if not isinstance(value, dict):
        return "nothing could be told; the system log says why"
    if status != 200:
        return "%s (%d)" % (value.get("error", "refused"), status)
    errinfo = value.get("errinfo")
    if errinfo:
        return _reason(action, errinfo)
    return "" if value.get("success", True) else "it failed; the system log says why"


def _reason(action, errinfo):
    section, key = errinfo.get("sec", ""), errinfo.get("key", "")
    text = "%s/%s" % (section, key)
    if "errField" in errinfo:
        text += " (%s)" % errinfo["errField"]
    meaning = action.reason(section, key)
    return text + (": " + meaning if meaning else "")


def show(action, answer, raw):
    """Prints a JSON answer; gives the exit status."""
    text = answer.bytes()
    if raw:
        sys.stdout.buffer.write(text)
    value = value_of(text)
    why = refusal(action, answer.status, value)
    if why:
        complain("%s: %s" % (action.name, why))
        return REFUSED
    if not raw:
        print(json.dumps(value, indent=2, ensure_ascii=not _shows_all_letters()))
    return DONE


def store(action, answer, output, raw):
    """Writes a download to a file or to standard output; gives the exit status."""
    if "content-disposition" not in answer.headers:
        return show(action, answer, raw)
    if not output:
        answer.copy(sys.stdout.buffer)
        return DONE

    # The file that is there already goes when the new one is whole.
    new = "%s.%d" % (output, os.getpid())
    try:
        with open(new, "xb") as file:
            answer.copy(file)
        os.rename(new, output)
    except OSError as problem:
        complain("%s: %s" % (output, problem.strerror))
        if os.path.exists(new):
            os.unlink(new)
        return NO_ANSWER
    return DONE
