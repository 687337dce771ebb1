"""What is sent: texts, pushes and USSD codes; reports; PDUs without a modem."""

from __future__ import annotations

from datetime import datetime, timezone
from typing import Callable

import pytest

import tavro
from tavro.testing import SimulatedModem


def test_texts(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    assert modem.send("+447700900123", "Hello {} €").references == (1,)
    assert str(modem.send("0123", "long " * 40, flash=True)) == "2,3"
    modem.send("0123", "Żółw 🙂\0")
    modem.send("0123", "Ż", coding=7)
    sent = simulated_modem.sent
    assert [(pdu.number, pdu.coding, pdu.message_class, pdu.part, pdu.parts) for pdu in sent] == [
        ("+447700900123", 7, None, 1, 1), ("0123", 7, 0, 1, 2), ("0123", 7, 0, 2, 2), ("0123", 16, None, 1, 1),
        ("0123", 7, None, 1, 1)]
    assert [sent[0].text, sent[1].text + sent[2].text, sent[3].text, sent[4].text] == [
        "Hello {} €", "long " * 40, "Żółw 🙂\0", "?"]
    for number in ("abc", "+", "", "12;34"):
        with pytest.raises(tavro.SendError) as caught:
            modem.send(number, "Hello")
        assert isinstance(caught.value, ValueError)
    assert len(simulated_modem.sent) == 5


def test_refusal(simulated_modems: Callable[..., SimulatedModem]) -> None:
    simulated = simulated_modems(answers={"PDU": "+CMS ERROR: 38"})
    with simulated.open() as modem:
        modem.send_retry = 0
        with pytest.raises(tavro.SendError, match="38") as caught:
            modem.send("0123", "Hello")
        assert caught.value.code == 4012 and not caught.value.is_result_unknown


def test_reports(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    simulated_modem.set("report-delay-ms", 50)
    sent = modem.send("+447700900123", "a" * 200, report=True)
    assert not sent.delivery().is_final
    delivery = sent.wait(10)
    assert delivery.state is tavro.DeliveryState.DELIVERED and delivery.is_final
    assert [(part.reference, part.status, part.recipient) for part in delivery.parts] == [
        (sent.references[0], 0, "+447700900123"), (sent.references[1], 0, "+447700900123")]
    assert delivery.parts[0].discharge_time is not None and delivery.parts[0].discharge_time.tzinfo is not None
    assert len(modem.reports()) == 2
    modem.clear_reports()
    assert modem.reports() == []
    simulated_modem.set("report-status", 70)
    assert modem.send("0123", "a", report=True).wait(10).state is tavro.DeliveryState.FAILED
    unheard = modem.send("0123", "a")
    assert unheard.wait(0.05) == modem.delivery(str(unheard)) == modem.delivery(unheard)
    assert unheard.delivery().parts[0].status is None


def test_push(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    what = ("+447700900123", "Look at this", "https://www.example.com/")
    created = datetime(2024, 3, 5, 12, 30, tzinfo=timezone.utc)
    assert modem.push_fits(*what) and not modem.push_fits(*what[:2], "https://www.example.com/" + "a" * 200)
    modem.push(*what, action="high", created=created, expiry="1D")
    pdu = simulated_modem.sent[0]
    assert (pdu.coding, pdu.destination_port, pdu.number) == (8, 2948, what[0])
    assert b"Look at this" in pdu.data
    with pytest.raises(tavro.PushError) as caught:
        modem.push("0123", "", "https://www.example.com/")
    assert caught.value.code == 7001 and isinstance(caught.value, ValueError)


def test_ussd(simulated_modems: Callable[..., SimulatedModem]) -> None:
    simulated = simulated_modems(ussd={"*100#": "5.20 €", "*101# 1": "One"}, ussd_menus={"*101#": "1 or 2?"})
    with simulated.open() as modem:
        assert modem.ussd("*100#") == tavro.UssdAnswer("5.20 €", False)
        assert modem.ussd("*101#").expects_reply
        assert str(modem.ussd("1")) == "One"
        modem.ussd("*101#")
        modem.ussd_cancel()
        with pytest.raises(tavro.UssdError) as caught:
            modem.ussd("")
        assert caught.value.code == 9001 and isinstance(caught.value, ValueError)


def test_decoding() -> None:
    # SMS-STATUS-REPORT on message 5 to +31641600986 (3GPP TS 23.040, 9.2.2.3): received by the SME.
    report = tavro.decode("07911326040000F0 06050B911346610089F6 20806291731408 20806291731480 00")
    assert (report.kind, report.reference, report.number) == (tavro.PduKind.STATUS_REPORT, 5, "+31641600986")
    assert (report.state, report.status) == (tavro.DeliveryState.DELIVERED, 0)
    assert report.discharge_time is not None and report.discharge_time.isoformat() == "2002-08-26T19:37:41+02:00"
    assert next(field for field in report.fields if field.name == "TP-MR").value == "5"
    with pytest.raises(tavro.PduError) as caught:
        tavro.decode("07911326040000F0040B9113466100")
    assert caught.value.octet == 11 and caught.value.pdu.service_centre == "+31624000000"
    assert str(caught.value) == caught.value.text != ""


def test_encoding() -> None:
    # As 3GPP TS 23.040 and 23.038 have it: no SCA, SUBMIT with a relative TP-VP of 1 day, "hellohello" in septets.
    (part,) = tavro.encode("+46708251358", "hellohello")
    assert (str(part), part.tpdu_length) == ("0011000B916407281553F80000A70AE8329BFD4697D9EC37", 23)
    parts = tavro.encode("0123", "€" * 200, reference=300, wide_references=True, report=True, validity="12H",
                         service_centre="+4912345", coding=16, flash=True)
    decoded = [tavro.decode(part.hex, direction=tavro.Direction.SENT) for part in parts]
    assert [(pdu.part, pdu.parts, pdu.long_reference, pdu.has_wide_reference) for pdu in decoded] == [
        (1, 4, 300, True), (2, 4, 300, True), (3, 4, 300, True), (4, 4, 300, True)]
    assert "".join(pdu.text for pdu in decoded) == "€" * 200
    assert (decoded[0].asks_for_report, decoded[0].validity, decoded[0].message_class) == (True, "12H", 0)
    assert decoded[0].service_centre == "+4912345"
    assert len(tavro.encode("0123", "a" * 255 * 152)) == 255  # one more does not fit
    assert len(tavro.encode("0123", "a" * 161, long_message=tavro.LongMessage.TRUNCATE)) == 1
    for code, given in ((4003, {"validity": "1Y"}), (4015, {"coding": 9}), (4018, {"service_centre": "x"}),
                        (5010, {"reference": 256}), (4005, {"long_message": 7})):
        with pytest.raises(ValueError) as caught:
            tavro.encode("0123", "a" * 200, **given)  # type: ignore[arg-type]
        assert isinstance(caught.value, tavro.Error) and caught.value.code == code
