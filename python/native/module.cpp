// The module qva._native: what stands behind the functions of qva/__init__.py.
#include "analysis.h"
#include "base/errors.h"
#include "colour/icc_builder.h"
#include "printing.h"
#include "render/threads.h"
#include "write.h"

#include <pybind11/stl.h>

namespace py = pybind11;

namespace qva::python {

namespace {

using Words = std::vector<std::string>;
using ProfileBytes = std::optional<std::string>;

py::bytes BytesOf(const std::vector<unsigned char>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Both classes of errors, made once and kept by the module.
struct ErrorTypes {
    py::object error;
    py::object misuse;
};

ErrorTypes& Types()
{
    // Never destroyed: the interpreter is gone by then.
    static auto* types = new ErrorTypes;
    return *types;
}

/// Names of files in a message need not be UTF-8.
void Raise(const py::object& type, const std::string& text)
{
    const auto message =
        py::reinterpret_steal<py::object>(PyUnicode_DecodeFSDefault(ScriptText(text).c_str()));
    PyErr_SetObject(type.ptr(), message.ptr());
}

void AddErrors(py::module_& module)
{
    const auto make = [&module](const char* name, const char* help, const py::object& bases) {
        auto type = py::reinterpret_steal<py::object>(PyErr_NewExceptionWithDoc(
            (std::string("qva.") + name).c_str(), help, bases.ptr(), nullptr));
        module.attr(name) = type;
        return type;
    };
    Types().error = make("Error", "The work could not be done: a bad file, profile or picture.",
                         py::reinterpret_borrow<py::object>(PyExc_RuntimeError));
    Types().misuse =
        make("Misuse", "A call asks for something that makes no sense: an option out of its range.",
             py::make_tuple(Types().error, py::reinterpret_borrow<py::object>(PyExc_ValueError)));
    py::register_exception_translator([](std::exception_ptr pointer) {
        try {
            std::rethrow_exception(pointer);
        } catch (const Misuse& error) {
            Raise(Types().misuse, error.what());
        } catch (const Error& error) {
            Raise(Types().error, error.what());
        }
    });
}

void AddPicture(py::module_& module)
{
    const auto text = [](const std::string& bytes) {
        return py::reinterpret_steal<py::str>(PyUnicode_DecodeFSDefault(bytes.c_str()));
    };
    py::class_<Picture>(module, "Picture", "A picture file in memory, made by read().")
        .def_property_readonly(
            "pixels",
            [](const Picture& p) { return Upright(p.samples, p.description.orientation); },
            "The samples as stored, upright: (height, width, 3) of uint16 codes, or of float32.")
        .def_property_readonly(
            "path", [text](const Picture& p) { return text(p.description.path); },
            "The file's name.")
        .def_property_readonly(
            "format", [](const Picture& p) { return p.description.format; },
            "\"PNG\", \"OpenEXR\" ...")
        .def_property_readonly(
            "bits", [](const Picture& p) { return p.description.bits; }, "Of a sample in the file.")
        .def_property_readonly(
            "dpi", [](const Picture& p) { return p.description.dpi; },
            "Pixels per inch; 0 where the file does not say.")
        .def_property_readonly(
            "notes",
            [](const Picture& p) {
                Words notes = p.description.notes;
                notes.insert(notes.end(), p.meaning.notes.begin(), p.meaning.notes.end());
                return notes;
            },
            "Sentences to read: what could not be used, what was assumed.")
        .def_property_readonly(
            "findings",
            [](const Picture& p) {
                std::vector<std::pair<std::string, std::string>> findings;
                for (const Finding& finding : p.description.findings) {
                    findings.emplace_back(finding.label, finding.text);
                }
                return findings;
            },
            "More that the file says about itself, as (label, text).")
        .def_property_readonly(
            "encoding", [](const Picture& p) { return NameOfTransfer(p.meaning); },
            "How samples stand for light: \"linear\", \"gamma 2.2\", \"sRGB\", \"PQ\", \"HLG\", "
            "\"ICC profile\".")
        .def_property_readonly(
            "primaries", [](const Picture& p) { return NameOfPrimaries(p.meaning.primaries); },
            "Their name: \"bt2020\"; \"custom\" for others.")
        .def_property_readonly(
            "white", [](const Picture& p) { return p.meaning.signalOneLuminance; },
            "cd/m2 of the value 1.0, or of the largest code; 203 where nothing states it.")
        .def_property_readonly(
            "states_scale", [](const Picture& p) { return p.meaning.hasScale; },
            "Whether it is known what light samples are; print_image exposes others.")
        .def_property_readonly(
            "icc_profile",
            [](const Picture& p) -> py::object {
                const auto& profile = p.description.tags.profile;
                return profile.empty() ? py::none() : py::object(BytesOf(profile));
            },
            "The bytes of the ICC profile in the file, or None.");
}

void AddAnalysis(py::module_& module)
{
    const auto shape = [](ImageSize size) { return py::make_tuple(size.height, size.width, 3); };
    py::class_<Analysis>(module, "Analysis")
        .def(py::init([](const py::object& pixels,
                         std::optional<std::pair<std::int64_t, std::int64_t>> page, double top,
                         const Words& words, const ProfileBytes& profile) {
            std::optional<ImageSize> size;
            if (page) {
                size = ImageSize{page->second, page->first};
            }
            return std::make_unique<Analysis>(pixels, size, top, OptionsOf(words), profile);
        }))
        .def("correct",
             [](Analysis& analysis, const py::object& band, std::int64_t first, bool isRows,
                const py::object& out, const Words& words) {
                 return analysis.Correct(band, first, isRows ? Direction::Rows : Direction::Columns,
                                         out, OptionsOf(words).threads);
             })
        .def_property_readonly("reduced", &Analysis::Reduced)
        .def_property_readonly("page_shape",
                               [shape](const Analysis& analysis) { return shape(analysis.Page()); })
        .def_property_readonly("top", &Analysis::Top)
        .def_property_readonly("margin", &Analysis::Margin);
}

void AddFunctions(py::module_& module)
{
    module.def("read", [](const std::string& path, const Words& words) {
        return ReadPicture(path, OptionsOf(words));
    });
    module.def("light_of", [](const Picture& picture, const Words& words) {
        return LightOf(picture, OptionsOf(words));
    });
    module.def("render", [](const py::object& pixels, const Words& words, bool isPreview,
                            const ProfileBytes& profile, const py::object& out) {
        CallOptions options = OptionsOf(words);
        options.render.preview = isPreview;
        return Print(pixels, options, profile, out);
    });
    module.def("write", [](const std::string& path, const py::object& pixels, double dpi,
                           const std::string& compression, const py::object& picture) {
        WriteSettings settings;
        settings.dpi = dpi;
        settings.compression = compression == "none" ? Compression::None : Compression::Deflate;
        WriteArray(path, pixels, settings, picture);
    });
    module.def("rendered_profile", [] { return BytesOf(RenderedProfile()); });
}

} // namespace

PYBIND11_MODULE(_native, module)
{
    AddErrors(module);
    AddPicture(module);
    AddAnalysis(module);
    AddFunctions(module);
    module.attr("version") = QVA_VERSION_STRING;
    // Shared by the calls of all threads, so it is settled once.
    SetThreads(0);
}

} // namespace qva::python
