// The policy of the page permits its own script and style by their digests, and pictures that are in the page; every
// request is forbidden.
#include "explain/report/page.h"

#include <glib.h>

#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>

#include "explain/report/data.h"
#include "explain/report/files.h"

namespace explain {
namespace {

std::string digest_of(std::string_view text) {
    constexpr std::size_t kSize = 32;
    const std::unique_ptr<GChecksum, decltype(&g_checksum_free)> checksum(g_checksum_new(G_CHECKSUM_SHA256),
                                                                          g_checksum_free);
    g_checksum_update(checksum.get(), reinterpret_cast<const guchar *>(text.data()), static_cast<gssize>(text.size()));
    guchar bytes[kSize];
    gsize size = sizeof bytes;
    g_checksum_get_digest(checksum.get(), bytes, &size);
    const std::unique_ptr<char, decltype(&g_free)> base64(g_base64_encode(bytes, size), g_free);
    return "'sha256-" + std::string(base64.get()) + "'";
}

std::string policy() {
    return "default-src 'none'; script-src " + digest_of(kPageScript) + "; style-src " + digest_of(kPageStyle) +
           "; img-src data:; base-uri 'none'; form-action 'none'";
}

// In HTML.
std::string escaped(std::string_view text) {
    std::string safe;
    for (const char c : text) {
        if (c == '&' || c == '<' || c == '>') {
            safe += c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&gt;";
        } else {
            safe += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
        }
    }
    return safe;
}

std::string valid(const std::string &text) {
    const std::unique_ptr<char, decltype(&g_free)> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
    return valid.get();
}

// JSON that no parser of HTML takes for the end of the element, or for a comment.
std::string inside_script(std::string_view json) {
    std::string safe;
    safe.reserve(json.size() + json.size() / 64);
    for (const char c : json) {
        if (c == '<') {
            safe += "\\u003c";
        } else {
            safe += c;
        }
    }
    return safe;
}

// The template with each text in the place of its mark. The marks come in this order.
std::string filled(std::initializer_list<std::pair<std::string_view, std::string_view>> texts) {
    std::string page;
    std::string_view rest = kPageTemplate;
    for (const auto &[mark, text] : texts) {
        const std::size_t at = rest.find(mark);
        page.append(rest.substr(0, at)).append(text);
        rest.remove_prefix(at + mark.size());
    }
    return page.append(rest);
}

} // namespace

std::string report_page(const Subject &subject, const ReportHead &head, const PictureBounds &bounds) {
    return filled({{"@POLICY@", policy()},
                   {"@TITLE@", escaped(valid(subject.sw.name + ": " + head.command))},
                   {"@STYLE@", kPageStyle},
                   {"@DATA@", inside_script(report_data(subject, head, bounds))},
                   {"@SCRIPT@", kPageScript}});
}

} // namespace explain
