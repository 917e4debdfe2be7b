// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

#include "page/Document.h"

#include "page/Parts.h"

#include <tarn_kit/files/Text.h>

namespace tarn::view {

namespace {

/// Text between tags.
std::string escaped(const std::string& text) {
    std::string safe;
    for (const char c : kit::printable(text)) {
        safe += c == '&'   ? std::string("&amp;")
                : c == '<' ? std::string("&lt;")
                : c == '>' ? std::string("&gt;")
                           : std::string(1, c);
    }
    return safe;
}

/// JSON in a script element: whatever its texts say, it does not end there.
std::string inScript(const Json& facts) {
    std::string safe;
    for (const char c : facts.dump()) {
        safe += c == '<'   ? std::string("\\u003c")
                : c == '>' ? std::string("\\u003e")
                           : std::string(1, c);
    }
    return safe;
}

} // namespace

void writeDocument(const Document& document, std::ostream& stream) {
    stream << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           << "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
              "script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src data:; "
           << (document.connect.empty() ? "" : "connect-src " + document.connect + "; ")
           << "base-uri 'none'; form-action 'none'\">\n"
           << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           << "<link rel=\"icon\" href=\"data:,\">\n"
           << "<title>" << escaped(document.title) << "</title>\n<!--\n"
           << pageLicences << "-->\n<style>\n"
           << pageStyle << "</style>\n</head>\n<body>\n"
           << pageBody << R"(<script type="application/json" id="facts">)"
           << inScript(document.facts) << "</script>\n<script type=\"text/plain\" id=\"columns\">"
           << document.columns << "</script>\n<script>\n"
           << pageScript << "</script>\n</body>\n</html>\n";
}

} // namespace tarn::view
