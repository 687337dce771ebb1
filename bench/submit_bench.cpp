// Building SMS-SUBMIT PDUs, by the floor of packing their septets.
#include "floor.h"
#include "outgoing/encodings.h"
#include "outgoing/message_parts.h"
#include "outgoing/submit_pdu.h"
#include "tavro/long_message_type.h"

namespace {

using namespace tavro;

std::u16string Text(std::size_t length) {
  std::u16string text;
  while (text.size() < length) text += u"The quick brown fox jumps, 12 times \u00E9.";
  text.resize(length);
  return text;
}

SubmitMessage Message() {
  SubmitMessage message;
  message.smscField = "0791947101670000";
  message.destination = "+919812345678";
  return message;
}

// The parts of a text, packed by the floor.
void MeasureFloor(benchmark::State& state, std::size_t length) {
  const MessageParts parts = PrepareParts(Text(length), 7, MessageConcatenate);
  char hex[400];
  for (auto _ : state) {
    for (const auto& part : parts.texts) {
      benchmark::DoNotOptimize(bench::PackFloor(part, hex));
      benchmark::ClobberMemory();
    }
  }
}

void FloorOfOne(benchmark::State& state) { MeasureFloor(state, 160); }
void FloorOfThousand(benchmark::State& state) { MeasureFloor(state, 1000); }

void BuildOne(benchmark::State& state) {
  const std::u16string codes = ToGsmAlphabet(Text(160));
  SubmitMessage message = Message();
  message.codes = codes;
  for (auto _ : state) benchmark::DoNotOptimize(BuildSubmitPdu(message));
}

// From the text on: into the alphabet, cut, and each part built.
void BuildThousand(benchmark::State& state) {
  const std::u16string text = Text(1000);
  SubmitMessage message = Message();
  for (auto _ : state) {
    const MessageParts parts = PrepareParts(text, 7, MessageConcatenate);
    message.total = parts.Total();
    message.part = 0;
    for (const auto& part : parts.texts) {
      message.codes = part;
      ++message.part;
      benchmark::DoNotOptimize(BuildSubmitPdu(message));
    }
  }
}

BENCHMARK(FloorOfOne)->Repetitions(5)->MinTime(0.1);
BENCHMARK(BuildOne)->Repetitions(5)->MinTime(0.1);
BENCHMARK(FloorOfThousand)->Repetitions(5)->MinTime(0.1);
BENCHMARK(BuildThousand)->Repetitions(5)->MinTime(0.1);

}  // namespace

int main(int argc, char** argv) {
  return tavro::bench::Run(argc, argv, {{"BuildOne", "FloorOfOne", 3}, {"BuildThousand", "FloorOfThousand", 3}});
}
