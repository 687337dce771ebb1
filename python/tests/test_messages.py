"""What comes: messages, one by one and joined, and their deletion."""

from __future__ import annotations

import pickle
import threading
from datetime import timedelta

import pytest

import tavro
from tavro.testing import SimulatedModem


def test_life_of_a_message(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    # TP-OA +31641600986, TP-SCTS 2008-03-05 14:07:09 +05:30, "Test" in the GSM alphabet (3GPP TS 23.040, 9.2.2.1).
    simulated_modem.receive_pdu("07911326040000F0040B911346610089F600008030504170902204D4F29C0E")
    simulated_modem.receive("Alice", " two\nlines \\ €\t")
    messages = modem.wait(10)
    messages += modem.wait(10) if len(messages) < 2 else []
    first, second = messages
    assert (first.sender, first.text, first.service_centre) == ("+31641600986", "Test", "+31624000000")
    assert first.time is not None and first.time.isoformat() == "2008-03-05T14:07:09+05:30"
    assert first.time.utcoffset() == timedelta(hours=5, minutes=30)
    assert (first.parts, first.missing_parts, first.waiting, first.message_class) == (1, (), (), None)
    assert (second.sender, second.text) == ("Alice", " two\nlines \\ €\t")
    assert modem.messages() == modem.inbox() == messages
    assert len({first, second, modem.inbox()[0]}) == 2  # the same message is the same value
    with pytest.raises(AttributeError):
        setattr(first, "text", "")

    copied = pickle.loads(pickle.dumps(first))
    assert copied == first
    with pytest.raises(tavro.ClosedError, match="gone"):
        copied.delete()

    # Between the applications F0 and F1 hexadecimal, in octets (9.2.3.24.3).
    simulated_modem.receive_pdu("0791947101670000440C9194711032547600F54230504170904008040402F0F101FF80")
    third, = modem.wait(10)
    assert (third.destination_port, third.source_port, third.data) == (0xF0, 0xF1, b"\x01\xff\x80")

    for message in modem.messages():
        message.delete()
    assert modem.messages("read") == []
    with pytest.raises(tavro.DeleteError) as caught:
        modem.delete(first)
    assert caught.value.code == 6007
    modem.delete_all()  # of nothing


def test_long_messages(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    text = "Zażółć gęślą jaźń. 🙂 " * 12
    simulated_modem.receive("+447700900123", text)
    (message,) = modem.wait(10)
    assert message.text == text and message.parts > 3
    modem.joined = False
    assert len(modem.messages()) == message.parts
    modem.delete_all()
    assert modem.memories()[0].used == 0


def test_wait(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    assert modem.wait(0) == [] == modem.wait(0.01)
    modem.cancel()
    assert modem.wait() == []  # it was cancelled before it began
    threading.Timer(0.1, modem.cancel).start()
    assert modem.wait() == []
    threading.Timer(0.1, simulated_modem.receive, ("+447700900123", "at last")).start()
    assert [message.text for message in modem.wait()] == ["at last"]
    simulated_modem.receive("+447700900123", "meanwhile")
    modem.signal
    assert [message.text for message in modem.wait(10)] == ["meanwhile"]


def test_recovery(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    simulated_modem.unplug()
    with pytest.raises(tavro.Error):
        modem.wait(10)
    simulated_modem.plug()
    simulated_modem.receive("+447700900123", "back again")
    assert [message.text for message in modem.wait(10)] == ["back again"]
