#include "formats/pdf_file.h"

#include <fmt/format.h>

namespace qva {

namespace {

constexpr char32_t replacement = 0xfffd;

/// Takes one character off the front of UTF-8.
char32_t TakeCharacter(std::string_view& text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    const std::size_t more = lead < 0x80 ? 0 : lead >= 0xf0 ? 3 : lead >= 0xe0 ? 2 : 1;
    if (more == 0) {
        return lead;
    }
    char32_t character = lead & (0x3fu >> more);
    if (lead < 0xc0 || lead > 0xf4 || text.size() < more) {
        return replacement;
    }
    for (std::size_t i = 0; i < more; ++i) {
        if ((text[i] & 0xc0) != 0x80) {
            return replacement;
        }
        character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3fu);
    }
    text.remove_prefix(more);
    const bool isNone = character > 0x10ffff || (character >= 0xd800 && character < 0xe000);
    return isNone ? replacement : character;
}

} // namespace

std::string PdfText(const std::string& text)
{
    std::string out = "<FEFF";
    for (std::string_view left = text; !left.empty();) {
        const auto character = static_cast<std::uint32_t>(TakeCharacter(left));
        if (character < 0x10000) {
            out += fmt::format("{:04X}", character);
        } else {
            const std::uint32_t above = character - 0x10000;
            out += fmt::format("{:04X}{:04X}", 0xd800 + (above >> 10), 0xdc00 + (above & 0x3ff));
        }
    }
    return out + ">";
}

PdfFile::PdfFile(const OutputFile& file) : file_(file)
{
    // Bytes above 127 in the second line tell programs that the file is not text.
    Append("%PDF-1.6\n%\xe2\xe3\xcf\xd3\n");
}

int PdfFile::NewNumber()
{
    places_.push_back(0);
    return static_cast<int>(places_.size());
}

void PdfFile::Append(std::string_view bytes)
{
    file_.Append(bytes);
    place_ += bytes.size();
}

void PdfFile::BeginObject(int number)
{
    places_[static_cast<std::size_t>(number) - 1] = place_;
    Append(fmt::format("{} 0 obj\n", number));
}

void PdfFile::WriteObject(int number, std::string_view body)
{
    BeginObject(number);
    Append(fmt::format("{}\nendobj\n", body));
}

void PdfFile::WriteStream(int number, std::string_view entries, std::string_view bytes)
{
    BeginObject(number);
    Append(fmt::format("<< {} /Length {} >>\nstream\n", entries, bytes.size()));
    Append(bytes);
    Append("\nendstream\nendobj\n");
}

void PdfFile::BeginStream(int number, std::string_view entries)
{
    length_ = NewNumber();
    BeginObject(number);
    Append(fmt::format("<< {} /Length {} 0 R >>\nstream\n", entries, length_));
    streamBegin_ = place_;
}

void PdfFile::EndStream()
{
    const std::uint64_t length = place_ - streamBegin_;
    Append("\nendstream\nendobj\n");
    WriteObject(length_, fmt::format("{}", length));
}

void PdfFile::Finish(std::string_view entries)
{
    // ISO 32000-1, table 18: kind, place and generation of every object, number 0 being free.
    std::string table("\0\0\0\0\0\0\0\0\0\xff\xff", 11);
    const std::uint64_t own = place_;
    const int number = NewNumber();
    places_.back() = own;
    for (const std::uint64_t place : places_) {
        table += '\1';
        for (int shift = 56; shift >= 0; shift -= 8) {
            table += static_cast<char>(place >> shift);
        }
        table.append(2, '\0');
    }
    WriteStream(number,
                fmt::format("/Type /XRef /Size {} /W [1 8 2] {}", places_.size() + 1, entries),
                table);
    Append(fmt::format("startxref\n{}\n%%EOF\n", own));
}

} // namespace qva
