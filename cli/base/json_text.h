// JSON as text, without a tree of values: taking one apart asks for memory where nothing may fail.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qva {

/// Writes values one after the other. Every Open has its Close; members of an object are named,
/// elements of an array and the outermost value are not.
class JsonWriter {
public:
    /// @param indented  a member a line, instead of all on one line.
    explicit JsonWriter(bool indented) : indented_(indented) {}

    void OpenObject(std::string_view name = {}) { Open(name, '{', '}'); }
    void OpenArray(std::string_view name = {}) { Open(name, '[', ']'); }
    void Close();

    /// @param value  a number, truth value or text; what is no UTF-8 in a text is replaced.
    template <typename T>
    void Add(std::string_view name, const T& value)
    {
        Begin(name);
        text_ += Scalar(value);
    }

    const std::string& Text() const { return text_; }

    /// A value alone.
    template <typename T>
    static std::string Scalar(const T& value)
    {
        using Json = nlohmann::json;
        return Json(value).dump(-1, ' ', false, Json::error_handler_t::replace);
    }

private:
    void Begin(std::string_view name);
    void Open(std::string_view name, char opener, char closer);
    void BreakLine();

    bool indented_;
    bool isFirst_ = true;
    std::string closers_;
    std::string text_;
};

/// The members of an object in their order, values as text; those of an object within it have names
/// such as "page.width".
using JsonMembers = std::vector<std::pair<std::string, std::string>>;

/// @return nothing where the text is no such object: no JSON, or with arrays or deeper objects.
std::optional<JsonMembers> ReadJsonMembers(const std::string& text);

/// @return the text of the value; nothing where there is no such member.
std::optional<std::string> ValueOf(const JsonMembers& members, std::string_view name);

} // namespace qva
