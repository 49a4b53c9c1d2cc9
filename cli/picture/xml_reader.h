// An XML parser whose handlers may throw.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string_view>

struct XML_ParserStruct;

namespace qva {

/// How names are told: as namespace, space, name, or with a space and the prefix behind, for
/// those who change the text itself, which then is UTF-8 whatever it says.
enum class XmlNames { Plain, WithPrefix };

/// Tells the elements of a text to the class that is derived from it, which is done with after one
/// text. A document type is refused: what its entities stand for has no place in the text, and no
/// honest packet has any.
class XmlReader {
public:
    static constexpr char separator = ' ';

    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    /// @return whether all of it could be read; what stands before an error has been told.
    /// @throws what a handler threw; std::bad_alloc.
    bool Parse(std::string_view text);

protected:
    explicit XmlReader(XmlNames names);
    virtual ~XmlReader();

    /// @param attributes  names and values in turn, up to a null.
    virtual void Start(std::string_view name, const char** attributes) = 0;
    virtual void End() = 0;
    /// Of an element, in pieces.
    virtual void Characters(std::string_view) {}

    /// Where the tag at hand begins in the text, in bytes.
    std::size_t Place() const;

private:
    struct Handlers;

    std::unique_ptr<XML_ParserStruct, void (*)(XML_ParserStruct*)> parser_;
    std::exception_ptr thrown_;
};

} // namespace qva
