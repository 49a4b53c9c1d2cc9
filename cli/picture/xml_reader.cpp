#include "picture/xml_reader.h"

#include <algorithm>
#include <expat.h>
#include <new>

namespace qva {

/// What the parser calls; no exception may pass through it.
struct XmlReader::Handlers {
    template <typename Body>
    static void Carry(void* self, const Body& body)
    {
        auto& reader = *static_cast<XmlReader*>(self);
        try {
            body(reader);
        } catch (...) {
            reader.thrown_ = std::current_exception();
            XML_StopParser(reader.parser_.get(), XML_FALSE);
        }
    }

    static void Start(void* self, const char* name, const char** attributes)
    {
        Carry(self, [&](XmlReader& reader) { reader.Start(name, attributes); });
    }

    static void End(void* self, const char*)
    {
        Carry(self, [](XmlReader& reader) { reader.End(); });
    }

    static void Characters(void* self, const char* text, int length)
    {
        Carry(self, [&](XmlReader& reader) {
            reader.Characters({text, static_cast<std::size_t>(length)});
        });
    }

    static void Doctype(void* self, const char*, const char*, const char*, int)
    {
        XML_StopParser(static_cast<XmlReader*>(self)->parser_.get(), XML_FALSE);
    }
};

XmlReader::XmlReader(XmlNames names)
    : parser_(XML_ParserCreateNS(names == XmlNames::WithPrefix ? "UTF-8" : nullptr, separator),
              XML_ParserFree)
{
    if (!parser_) {
        throw std::bad_alloc();
    }
    XML_SetReturnNSTriplet(parser_.get(), names == XmlNames::WithPrefix ? 1 : 0);
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), Handlers::Start, Handlers::End);
    XML_SetCharacterDataHandler(parser_.get(), Handlers::Characters);
    XML_SetStartDoctypeDeclHandler(parser_.get(), Handlers::Doctype);
}

XmlReader::~XmlReader() = default;

bool XmlReader::Parse(std::string_view text)
{
    const bool done = XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()),
                                XML_TRUE) == XML_STATUS_OK;
    if (thrown_) {
        std::rethrow_exception(thrown_);
    }
    if (!done && XML_GetErrorCode(parser_.get()) == XML_ERROR_NO_MEMORY) {
        throw std::bad_alloc();
    }
    return done;
}

std::size_t XmlReader::Place() const
{
    return static_cast<std::size_t>(std::max<XML_Index>(XML_GetCurrentByteIndex(parser_.get()), 0));
}

} // namespace qva
