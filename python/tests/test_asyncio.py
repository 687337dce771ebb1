"""Messages for asyncio."""

from __future__ import annotations

import asyncio
import contextlib
from typing import Any, Coroutine

import pytest

import tavro
from tavro.testing import SimulatedModem


def run(main: Coroutine[Any, Any, None]) -> None:
    asyncio.run(asyncio.wait_for(main, 30))


def test_answers_between(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    async def main() -> None:
        simulated_modem.receive("+447700900123", "one")
        texts = []
        async with modem.listen() as messages:
            async for message in messages:
                texts.append(message.text)
                sent = await asyncio.to_thread(modem.send, message.sender, "Thank you.", report=True)
                assert (await asyncio.to_thread(sent.wait, 10)).state is tavro.DeliveryState.DELIVERED
                message.delete()
                assert modem.signal > 0 and modem.inbox() == []
                if len(texts) == 3:
                    break
                simulated_modem.receive("+447700900123", f"behind {message.text}")
        assert texts == ["one", "behind one", "behind behind one"]

    run(main())
    assert len(simulated_modem.sent) == 3
    assert modem.wait(0) == []  # it can be waited with again


def test_cancelling_loses_nothing(simulated_modem: SimulatedModem, modem: tavro.Modem) -> None:
    count = 30
    got: list[str] = []

    async def main() -> None:
        async def listen() -> None:
            async for message in modem.listen():
                got.append(message.text)

        for number in range(count // 2):  # a new listener each time
            task = asyncio.ensure_future(listen())
            await asyncio.sleep(0.001 * (number % 7))
            simulated_modem.receive("+447700900123", str(number))
            await asyncio.sleep(0.001 * (number % 5))
            task.cancel()
            with pytest.raises(asyncio.CancelledError):
                await task
        async with modem.listen() as messages:  # one that is asked again and again
            for number in range(count // 2, count):
                simulated_modem.receive("+447700900123", str(number))
                with contextlib.suppress(asyncio.TimeoutError):
                    got.append((await asyncio.wait_for(messages.__anext__(), 0.001 * (number % 4))).text)
            while len(got) < count:
                got.append((await messages.__anext__()).text)

    run(main())
    assert got == [str(number) for number in range(count)]
    assert len(modem.messages()) == count


def test_failure_and_misuse(simulated_modem: SimulatedModem) -> None:
    async def main() -> None:
        modem = simulated_modem.open()
        messages = modem.listen()
        waiting = asyncio.ensure_future(messages.__anext__())
        while modem._turns.listening is None or not modem._turns.listening.is_awaited:
            await asyncio.sleep(0)
        with pytest.raises(tavro.InUseError):
            modem.wait(1)
        with pytest.raises(tavro.InUseError):
            await modem.listen().__anext__()
        simulated_modem.unplug()
        with pytest.raises(tavro.Error):
            await waiting
        simulated_modem.plug()
        for text in ("back again", "twice"):  # by two listeners that nobody awaits at the same time
            simulated_modem.receive("+447700900123", text)
            assert (await messages.__anext__()).text == text
            simulated_modem.receive("+447700900123", text)
            other = modem.listen()
            assert (await other.__anext__()).text == text
        waiting = asyncio.ensure_future(messages.__anext__())
        await asyncio.sleep(0)
        modem.close()  # ends what listens
        with pytest.raises(StopAsyncIteration):
            await waiting

    run(main())


def test_several(simulated_modem: SimulatedModem) -> None:
    """Tasks that ask one listener, and then another event loop."""
    with simulated_modem.open(memory="ME", connect=False) as modem:
        messages = modem.listen()

        async def main() -> None:
            both = [asyncio.ensure_future(messages.__anext__()) for _ in range(2)]
            while "+CNMI=" not in simulated_modem.transcript:
                await asyncio.sleep(0.01)
            simulated_modem.receive("0123", "one")
            await asyncio.wait(both, return_when=asyncio.FIRST_COMPLETED)
            with pytest.raises(tavro.InUseError):  # one of them still does
                modem.wait(0)
            simulated_modem.receive("0123", "two")
            assert {message.text for message in await asyncio.gather(*both)} == {"one", "two"}

        async def later() -> None:
            simulated_modem.receive("0123", "three")
            assert (await messages.__anext__()).text == "three"

        run(main())
        assert 'AT+CPMS="ME"' in simulated_modem.transcript
        run(later())
        run(messages.aclose())
