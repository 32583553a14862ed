#include "message.h"

#include <algorithm>

namespace rig::bench {

namespace {

constexpr std::size_t kBytesOfNumber = 8;

constexpr std::uint64_t kGood = 0;
constexpr std::uint64_t kRefused = 1;

Writer Saying(Topic topic) {
    Writer writer;
    writer.Add(static_cast<std::uint64_t>(topic));
    return writer;
}

Writer Answering() {
    Writer writer;
    writer.Add(kGood);
    return writer;
}

Reader AnswerIn(std::string_view answer) {
    Reader reader(answer);
    if (reader.Number() != kGood) {
        throw Refused(reader.Text());
    }
    return reader;
}

} // namespace

Writer& Writer::Add(std::uint64_t number) {
    for (std::size_t i = 0; i < kBytesOfNumber; ++i) {
        bytes += static_cast<char>(number >> (8 * i) & 0xFF);
    }
    return *this;
}

Writer& Writer::Add(std::string_view text) {
    Add(std::uint64_t{text.size()});
    bytes += text;
    return *this;
}

Writer& Writer::Add(const Value& value) {
    Add(std::uint64_t{value.index()});
    if (const auto* number = std::get_if<std::uint64_t>(&value)) {
        Add(*number);
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        Add(std::string_view(*text));
    } else if (const auto* texts = std::get_if<Texts>(&value)) {
        Add(*texts);
    }
    return *this;
}

Writer& Writer::Add(const std::vector<Value>& values) {
    Add(std::uint64_t{values.size()});
    for (const Value& value : values) {
        Add(value);
    }
    return *this;
}

Writer& Writer::Add(const Texts& texts) {
    Add(std::uint64_t{texts.size()});
    for (const std::string& text : texts) {
        Add(std::string_view(text));
    }
    return *this;
}

std::uint64_t Reader::Number() {
    if (rest.size() < kBytesOfNumber) {
        throw Malformed("a number is cut");
    }
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < kBytesOfNumber; ++i) {
        number |= std::uint64_t{static_cast<unsigned char>(rest[i])} << (8 * i);
    }
    rest.remove_prefix(kBytesOfNumber);
    return number;
}

std::size_t Reader::Count(std::size_t leastBytes) {
    const std::uint64_t count = Number();
    if (count > rest.size() / leastBytes) {
        throw Malformed("less follows than is announced");
    }
    return static_cast<std::size_t>(count);
}

std::string Reader::Text() {
    const std::size_t length = Count(1);
    std::string text(rest.substr(0, length));
    rest.remove_prefix(length);
    return text;
}

Texts Reader::AllTexts() {
    Texts texts(Count(kBytesOfNumber));
    std::generate(texts.begin(), texts.end(), [&] { return Text(); });
    return texts;
}

Value Reader::AnyValue() {
    switch (Number()) {
    case 0:
        return {};
    case 1:
        return Number();
    case 2:
        return Text();
    case 3:
        return AllTexts();
    default:
        throw Malformed("a value of no known kind");
    }
}

std::vector<Value> Reader::Values() {
    std::vector<Value> values(Count(kBytesOfNumber));
    std::generate(values.begin(), values.end(), [&] { return AnyValue(); });
    return values;
}

void Reader::End() const {
    if (!rest.empty()) {
        throw Malformed("more follows than belongs to it");
    }
}

std::string Encoded(const Introduction& who) {
    return Saying(Topic::Introduction)
        .Add(who.protocol)
        .Add(who.key)
        .Add(who.process)
        .Add(std::string_view(who.program))
        .bytes;
}

Introduction DecodedIntroduction(Reader& reader) {
    Introduction who;
    who.protocol = reader.Number();
    if (who.protocol == kProtocol) { // other versions may have other fields
        who.key = reader.Number();
        who.process = reader.Number();
        who.program = reader.Text();
        reader.End();
    }
    return who;
}

std::string Encoded(const Call& call) {
    return Saying(Topic::Call)
        .Add(static_cast<std::uint64_t>(call.function.id))
        .Add(call.inputs)
        .bytes;
}

Call DecodedCall(Reader& reader) {
    const std::uint64_t id = reader.Number();
    if (id >= VendorFunctions().size()) {
        throw Malformed("a vendor function that there is not");
    }
    Call call{VendorFunctions()[static_cast<std::size_t>(id)], reader.Values(), {}};
    reader.End();
    if (call.inputs.size() != call.function.parameters.size()) {
        throw Malformed(std::string("not what goes into ") + call.function.name);
    }
    return call;
}

std::string AnswerTo(const Call& call) {
    return Answering().Add(std::uint64_t{call.status}).Add(call.outputs).bytes;
}

void DecodeAnswer(std::string_view answer, Call& call) {
    Reader reader = AnswerIn(answer);
    call.status = static_cast<std::uint32_t>(reader.Number());
    call.outputs = reader.Values();
    reader.End();
}

std::string Encoded(const RigQuestion& question) {
    Writer writer = Saying(Topic::Rig);
    writer.Add(static_cast<std::uint64_t>(question.function));
    for (const std::uint64_t number : question.numbers) {
        writer.Add(number);
    }
    return writer.Add(question.text ? Value(*question.text) : Value()).bytes;
}

RigQuestion DecodedRigQuestion(Reader& reader) {
    RigQuestion question{};
    const std::uint64_t function = reader.Number();
    if (function > static_cast<std::uint64_t>(RigFunction::WriteVcd)) {
        throw Malformed("a function of the rig that there is not");
    }
    question.function = static_cast<RigFunction>(function);
    for (std::uint64_t& number : question.numbers) {
        number = reader.Number();
    }
    const Value text = reader.AnyValue();
    if (const auto* there = std::get_if<std::string>(&text)) {
        question.text = *there;
    } else if (IsThere(text)) {
        throw Malformed("a text that is none");
    }
    reader.End();
    return question;
}

std::string Encoded(const RigAnswer& answer) {
    return Answering()
        .Add(static_cast<std::uint64_t>(answer.number))
        .Add(answer.time)
        .Add(std::string_view(answer.text))
        .bytes;
}

RigAnswer DecodedRigAnswer(std::string_view bytes) {
    Reader reader = AnswerIn(bytes);
    RigAnswer answer;
    answer.number = static_cast<std::int64_t>(reader.Number());
    answer.time = reader.Number();
    answer.text = reader.Text();
    reader.End();
    return answer;
}

std::string Encoded(const Command& command) {
    return Saying(Topic::Command).Add(command.words).Add(std::uint64_t{command.json}).bytes;
}

Command DecodedCommand(Reader& reader) {
    Command command;
    command.words = reader.AllTexts();
    command.json = reader.Number() != 0;
    reader.End();
    return command;
}

std::string Encoded(const Reply& answer) {
    return Answering()
        .Add(static_cast<std::uint64_t>(answer.exitCode))
        .Add(std::string_view(answer.text))
        .Add(answer.next)
        .bytes;
}

Reply DecodedReply(std::string_view bytes) {
    Reader reader = AnswerIn(bytes);
    Reply answer;
    answer.exitCode = static_cast<int>(reader.Number());
    answer.text = reader.Text();
    answer.next = reader.Number();
    reader.End();
    return answer;
}

std::string Refusal(std::string_view sentence) {
    return Writer().Add(kRefused).Add(sentence).bytes;
}

std::string AnswerTo(const Introduction&, HostNumber host) {
    return Answering().Add(std::uint64_t{host}).bytes;
}

HostNumber DecodedHostNumber(std::string_view answer) {
    Reader reader = AnswerIn(answer);
    const auto host = static_cast<HostNumber>(reader.Number());
    reader.End();
    return host;
}

} // namespace rig::bench
