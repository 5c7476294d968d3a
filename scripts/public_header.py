"""The functions of the public headers and their comments."""
import re
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
HEADERS = [ROOT / "include/libvemlo.h",
           ROOT / "service_client/include/libvemlo_service_client.h"]
# Begins the declaration of what a header exports.
MACRO = "(?:LIBVEMLO_API|VEMLO_CLIENT_API)"

COMMENT = r"/\*\*(?P<comment>(?:(?!\*/).)*)\*/\s*"


def plain(comment):
    """The text of a comment, without the asterisks at the start of its lines."""
    return re.sub(r"^\s*\* ?", "", comment, flags=re.M).strip()


class Function:
    def __init__(self, declaration, comment):
        head, _, parameters = declaration.partition("(")
        self.name = re.findall(r"\w+", head)[-1]
        self.result = re.sub(MACRO, "", head[:head.rindex(self.name)]).strip()
        self.comment = None if comment is None else plain(comment)
        self.parameters = [part.split() for part in parameters.rstrip(")").split(",")
                           if part.strip() != "void"]

    def names_of_parameters(self):
        return [parts[-1].lstrip("*") for parts in self.parameters]

    def returns_memory(self):
        return self.result.endswith("*") or any(
            parts[-1].startswith("**") and self.result == "int" for parts in self.parameters)


def functions_in(text):
    """The functions in order. A comment belongs to a declaration that follows it directly."""
    pattern = rf"(?:{COMMENT})?^(?P<declaration>{MACRO} [^;]*\))\s*;"
    return [Function(match["declaration"], match["comment"])
            for match in re.finditer(pattern, text, re.M | re.S)]


def referred_to(function, before, by_name):
    """The function to whose comment this function's comment refers; None if it does not."""
    if "@" in function.comment:
        return None
    if function.comment.startswith("The same for "):
        return before
    names = re.findall(r"\b(\w+)\(\)", function.comment)
    others = [by_name[name] for name in names if name in by_name and name != function.name]
    return others[0] if others else None
