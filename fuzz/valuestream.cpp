// The flat value stream and the tokens of MCStateBytes: any types read from any text, and what is written comes back.
#include "Input.h"

#include "modelcore/modelcore.h"

using namespace MCXML_930;

namespace {

/// Reads a value of the type that the byte chooses; if that works, writes it and reads it again.
bool ReadOne(std::ifstream& stream, std::uint8_t type, std::ostringstream& copy)
{
    const XMLObj object("o", 1);
    const auto read = [&](auto value) {
        const auto before = value;
        const bool isRead = ParseValue(stream, value);
        if (isRead)
            object.WriteSubElement(copy, value);
        else if constexpr (!std::is_same_v<decltype(value), double>)
            REQUIRE(value == before);
        return isRead;
    };
    switch (type % 12) {
    case 0: return read(7);
    case 1: return read(7u);
    case 2: return read(7L);
    case 3: return read(7UL);
    case 4: return read(7LL);
    case 5: return read(7ULL);
    case 6: return read(true);
    case 7: return read(7.0);
    case 8: return read(std::string("unread"));
    case 9: return ParseEndObj(stream);
    case 10: return ParseStartXML(stream);
    default: return ParseStartObj(stream, "o");
    }
}

void Read(Input& input)
{
    const std::string types = input.Text(12);
    const bool asBytes = input.Bool();
    const std::string bytes = MCStateBytes::Wrap("o", input.Rest());
    std::ifstream file(PathOf(input.Rest()), std::ios::binary);
    MCStateBytes::Reader reader(bytes);
    std::ifstream& stream = asBytes ? reader.Stream() : file;
    std::ostringstream copy, again;
    std::string taken;
    for (const char type : types) {
        if (!ReadOne(stream, static_cast<std::uint8_t>(type), copy)) break;
        if (static_cast<std::uint8_t>(type) % 12 < 9) taken += type;
    }
    reader.Finish(true);
    std::ifstream second(PathOf(copy.str()), std::ios::binary);
    for (const char type : taken) REQUIRE(ReadOne(second, static_cast<std::uint8_t>(type), again));
    REQUIRE(again.str() == copy.str());
}

/// Writes values in both forms and reads them.
void Write(Input& input)
{
    MCStateBytes::Writer writer;
    std::ostringstream text;
    const std::string name = "o", notice = input.Text(30);
    const XMLObj object(name, 1);
    std::vector<std::uint64_t> integers;
    std::vector<double> reals;
    std::vector<std::string> texts;
    while (!input.IsDone()) {
        integers.push_back(input.Word());
        reals.push_back(input.Bool() ? input.Real() : input.Bits());
        texts.push_back(input.Text(60));
    }
    StartRoot(text, notice);
    for (std::ostream* const stream : {&writer.Stream(), static_cast<std::ostream*>(&text)}) {
        object.StartObj(*stream);
        for (std::size_t i = 0; i < integers.size(); ++i) {
            object.WriteSubElement(*stream, integers[i]);
            object.WriteSubElement(*stream, static_cast<long long>(integers[i]));
            object.WriteSubElement(*stream, reals[i]);
            object.WriteSubElement(*stream, texts[i]);
        }
        object.EndObj(*stream);
    }
    EndRoot(text);
    const std::string bytes = writer.Finish();
    MCStateBytes::Reader reader(bytes);
    REQUIRE(reader.GetFault() == MCStateBytes::Ok);
    std::ifstream file(PathOf(text.str()), std::ios::binary);
    REQUIRE(ParseStartXML(file));
    for (std::ifstream* const stream : {&reader.Stream(), &file}) {
        REQUIRE(ParseStartObj(*stream, name));
        for (std::size_t i = 0; i < integers.size(); ++i) {
            std::uint64_t u = 0;
            long long s = 0;
            double x = 0.0;
            std::string t;
            REQUIRE(ParseValue(*stream, u) && u == integers[i]);
            REQUIRE(ParseValue(*stream, s) && s == static_cast<long long>(integers[i]));
            REQUIRE(ParseValue(*stream, x) && SameBits(x, reals[i]));
            REQUIRE(ParseValue(*stream, t) && t == texts[i]);
        }
        REQUIRE(ParseEndObj(*stream));
    }
    REQUIRE(reader.Finish(true) == MCStateBytes::Ok);
    REQUIRE(ParseEndObj(file));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Input input(bytes, size);
    if (input.Bool())
        Read(input);
    else
        Write(input);
    return 0;
}
