"""What the library says: warnings go to the logger "zan", what stops a call into exceptions."""

from __future__ import annotations

import logging
import re
from typing import Any, Callable, NamedTuple, NoReturn, TypeVar

from . import _core

logger = logging.getLogger("zan")

_LEVELS = {"ERROR": logging.ERROR, "WARNING": logging.WARNING, "INFO": logging.INFO}
# "      [ZAN Message]  ** function:line ** , WARNING: text". What else is written is detail.
_MESSAGE = re.compile(r"^ {6}.*?\b(ERROR|WARNING|INFO): (.*)$", re.MULTILINE)
_FAILED_CONDITION = re.compile(r"ASSEX, ERROR: (Condition \[ .* failed \])")

T = TypeVar("T")


class InternalError(RuntimeError):
    """A condition inside the library is broken: please report it, with the input. The library stays usable."""


class _Message(NamedTuple):
    level: int
    text: str


def _parse(text: str) -> list[_Message]:
    return [_Message(_LEVELS[kind], what) for kind, what in _MESSAGE.findall(text)]


def _reason(messages: list[_Message], level: int) -> str:
    """The texts from a level on. That there is nothing to do follows from what was said before it, if anything."""
    texts = [message.text for message in messages if message.level >= level]
    causes = [text for text in texts if "Nothing to do" not in text]
    return "; ".join(causes or texts[-1:])


def _fail(text: str) -> NoReturn:
    """After a failed condition. An error before it tells which argument was wrong."""
    condition = _FAILED_CONDITION.search(text)
    advice = _reason(_parse(text[: condition.start()] if condition else text), logging.ERROR)
    if advice:
        raise ValueError(advice) from None
    raise InternalError(condition.group(1) if condition else "unknown condition") from None


def run(call: Callable[..., T], *arguments: Any) -> T:
    """The result of the call. Logs its messages; raises ValueError or InternalError for a failed condition."""
    _core.take_messages()  # of calls that were cancelled
    try:
        result = call(*arguments)
    except _core.InternalError:
        _fail(_core.take_messages())
    for message in _parse(_core.take_messages()):
        logger.log(message.level, message.text)
    return result


def run_or_raise(failure: str, call: Callable[..., T | None], *arguments: Any) -> T:
    """As run, for a call that gives None when nothing came out: then its messages are the ValueError's text."""
    _core.take_messages()
    try:
        result = call(*arguments)
    except _core.InternalError:
        _fail(_core.take_messages())
    messages = _parse(_core.take_messages())
    if result is None:
        reason = _reason(messages, logging.WARNING)
        raise ValueError(f"{failure}: {reason}" if reason else failure)
    for message in messages:
        logger.log(message.level, message.text)
    return result
