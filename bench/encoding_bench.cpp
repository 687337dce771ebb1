// The text encodings, by the floor of packing 160 septets, and as the text grows tenfold.
#include "floor.h"
#include "outgoing/encodings.h"

namespace {

using namespace tavro;

// An ordinary text, one character in forty of the extension table.
std::u16string Text(std::int64_t length) {
  std::u16string text;
  while (text.size() < static_cast<std::size_t>(length)) text += u"The quick brown fox jumps, 12 times \u00E9 [";
  text.resize(static_cast<std::size_t>(length));
  return text;
}

std::u16string Septets(std::int64_t length) {
  std::u16string septets = ToGsmAlphabet(Text(length));
  septets.resize(static_cast<std::size_t>(length));
  return septets;
}

// One operation on an input that is made of its length.
template <typename Make, typename Operation>
void Measure(benchmark::State& state, Make make, Operation operation) {
  const auto input = make(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(operation(input));
}

void Floor(benchmark::State& state) {
  std::string hex(static_cast<std::size_t>(state.range(0)) * 2, '\0');
  Measure(state, Septets, [&](const auto& septets) { return bench::PackFloor(septets, hex.data()); });
}
void EncodeUserData7(benchmark::State& state) {
  Measure(state, Septets, [](const auto& codes) { return EncodeUserData(codes, 7); });
}
void EncodeUserData8(benchmark::State& state) {
  Measure(state, Text, [](const auto& codes) { return EncodeUserData(codes, 8); });
}
void EncodeUserData16(benchmark::State& state) {
  Measure(state, Text, [](const auto& codes) { return EncodeUserData(codes, 16); });
}
void ToGsmAlphabet(benchmark::State& state) {
  Measure(state, Text, [](const auto& text) { return tavro::ToGsmAlphabet(text); });
}
void BitsToHex(benchmark::State& state) {
  const auto bits = [](std::int64_t length) { return std::string(static_cast<std::size_t>(length), '1'); };
  Measure(state, bits, [](const auto& text) { return tavro::BitsToHex(text, static_cast<int>(text.size() / 4)); });
}
std::string Digits(std::int64_t length) { return std::string(static_cast<std::size_t>(length), '7'); }
void HexToBits(benchmark::State& state) {
  Measure(state, Digits, [](const auto& hex) { return tavro::HexToBits(hex); });
}
void SwapSemiOctets(benchmark::State& state) {
  Measure(state, Digits, [](const auto& digits) { return tavro::SwapSemiOctets(digits); });
}
void IsNationalNumber(benchmark::State& state) {
  Measure(state, Digits, [](const auto& digits) { return tavro::IsNationalNumber(digits); });
}

#define TAVRO_LENGTHS Arg(160)->Arg(1600)->Arg(16000)->Repetitions(5)->MinTime(0.05)
BENCHMARK(Floor)->TAVRO_LENGTHS;
BENCHMARK(EncodeUserData7)->TAVRO_LENGTHS;
BENCHMARK(EncodeUserData8)->TAVRO_LENGTHS;
BENCHMARK(EncodeUserData16)->TAVRO_LENGTHS;
BENCHMARK(ToGsmAlphabet)->TAVRO_LENGTHS;
BENCHMARK(BitsToHex)->TAVRO_LENGTHS;
BENCHMARK(HexToBits)->TAVRO_LENGTHS;
BENCHMARK(SwapSemiOctets)->TAVRO_LENGTHS;
BENCHMARK(IsNationalNumber)->TAVRO_LENGTHS;

}  // namespace

int main(int argc, char** argv) {
  constexpr double kLinear = 12;  // ten times the text, and room for caches and the noise of the machine
  return tavro::bench::Run(argc, argv,
                           {{"EncodeUserData7/160", "Floor/160", 2},
                            {"ToGsmAlphabet/160", "Floor/160", 1},
                            {"EncodeUserData7/16000", "EncodeUserData7/1600", kLinear},
                            {"EncodeUserData8/16000", "EncodeUserData8/1600", kLinear},
                            {"EncodeUserData16/16000", "EncodeUserData16/1600", kLinear},
                            {"ToGsmAlphabet/16000", "ToGsmAlphabet/1600", kLinear},
                            {"BitsToHex/16000", "BitsToHex/1600", kLinear},
                            {"HexToBits/16000", "HexToBits/1600", kLinear},
                            {"SwapSemiOctets/16000", "SwapSemiOctets/1600", kLinear},
                            {"IsNationalNumber/16000", "IsNationalNumber/1600", kLinear}});
}
