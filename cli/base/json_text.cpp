#include "base/json_text.h"

namespace qva {

namespace {

/// Takes the parser's events; false ends it.
class MemberReader {
public:
    using Json = nlohmann::json;

    JsonMembers members;

    bool null() { return Take("null"); }
    bool boolean(bool value) { return Take(value ? "true" : "false"); }
    bool number_integer(Json::number_integer_t value) { return Take(std::to_string(value)); }
    bool number_unsigned(Json::number_unsigned_t value) { return Take(std::to_string(value)); }
    bool number_float(Json::number_float_t value, const std::string&)
    {
        return Take(JsonWriter::Scalar(value));
    }
    bool string(std::string& value) { return Take(JsonWriter::Scalar(value)); }
    bool binary(Json::binary_t&) { return false; }
    bool start_array(std::size_t) { return false; }
    bool end_array() { return false; }

    bool start_object(std::size_t)
    {
        if (++depth_ == 2) {
            outer_ = name_ + ".";
        }
        return depth_ <= 2;
    }
    bool key(std::string& name)
    {
        name_ = outer_ + name;
        return true;
    }
    bool end_object()
    {
        --depth_;
        outer_.clear();
        return true;
    }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&)
    {
        return false;
    }

private:
    bool Take(std::string value)
    {
        members.emplace_back(name_, std::move(value));
        return depth_ > 0;
    }

    int depth_ = 0;
    std::string outer_;
    std::string name_;
};

} // namespace

void JsonWriter::BreakLine()
{
    if (indented_) {
        text_ += '\n';
        text_.append(2 * closers_.size(), ' ');
    }
}

void JsonWriter::Begin(std::string_view name)
{
    if (!isFirst_) {
        text_ += ',';
    }
    if (!closers_.empty()) {
        BreakLine();
    }
    isFirst_ = false;
    if (!name.empty()) {
        text_ += Scalar(std::string(name));
        text_ += indented_ ? ": " : ":";
    }
}

void JsonWriter::Open(std::string_view name, char opener, char closer)
{
    Begin(name);
    text_ += opener;
    closers_ += closer;
    isFirst_ = true;
}

void JsonWriter::Close()
{
    const char closer = closers_.back();
    closers_.pop_back();
    if (!isFirst_) {
        BreakLine();
    }
    text_ += closer;
    isFirst_ = false;
}

std::optional<JsonMembers> ReadJsonMembers(const std::string& text)
{
    MemberReader reader;
    return nlohmann::json::sax_parse(text, &reader) ? std::optional(std::move(reader.members))
                                                    : std::nullopt;
}

std::optional<std::string> ValueOf(const JsonMembers& members, std::string_view name)
{
    for (const auto& [key, value] : members) {
        if (key == name) {
            return value;
        }
    }
    return std::nullopt;
}

} // namespace qva
