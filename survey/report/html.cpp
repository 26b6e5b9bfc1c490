#include "survey/report/html.h"

namespace survey {
namespace {

std::string_view entityOf(char character) {
    switch (character) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\'':
            return "&#39;";
        default:
            return {};
    }
}

bool isControl(char character) {
    const auto code = static_cast<unsigned char>(character);
    return (code < 0x20 && character != '\n' && character != '\t') || code == 0x7f;
}

std::string htmlOf(const Cell& cell, bool isHead) {
    std::string html = isHead ? "<th scope=\"row\"" : "<td";
    if (!cell.look.empty())
        html += " class=\"" + escaped(cell.look) + "\"";
    html += ">" + escaped(cell.text);
    if (!cell.note.empty())
        html += " <small>" + escaped(cell.note) + "</small>";
    return html + (isHead ? "</th>" : "</td>");
}

}  // namespace

std::string escaped(std::string_view text) {
    std::string html;
    html.reserve(text.size());
    for (const char character : text)
        if (const std::string_view entity = entityOf(character); !entity.empty())
            html += entity;
        else if (isControl(character))
            html += "\uFFFD";
        else
            html += character;
    return html;
}

std::string scriptText(const Json& json) {
    constexpr bool asciiOnly = true;
    const std::string plain = json.dump(-1, ' ', asciiOnly, Json::error_handler_t::replace);
    std::string text;
    text.reserve(plain.size());
    for (const char character : plain)
        if (character == '<')
            text += "\\u003c";
        else if (character == '>')
            text += "\\u003e";
        else if (character == '&')
            text += "\\u0026";
        else
            text += character;
    return text;
}

std::string filled(std::string_view page, const std::map<std::string, std::string>& values) {
    std::string text;
    for (std::size_t start = 0;;) {
        const std::size_t open = page.find("{{", start);
        text += page.substr(start, open - start);
        if (open == std::string_view::npos)
            return text;
        const std::size_t close = page.find("}}", open);
        text += values.at(std::string(page.substr(open + 2, close - open - 2)));
        start = close + 2;
    }
}

std::string htmlOf(const Table& table) {
    std::string html = "<div class=\"wide\"><table";
    html += table.figures ? " class=\"figures\">" : ">";
    if (!table.caption.empty())
        html += "<caption>" + escaped(table.caption) + "</caption>";
    html += "\n<thead><tr>";
    for (std::size_t i = 0; i < table.heads.size(); ++i) {
        const bool isText = !table.rows.empty() && table.rows.front()[i].look == textLook;
        html += isText ? "<th scope=\"col\" class=\"text\">" : "<th scope=\"col\">";
        html += escaped(table.heads[i]) + "</th>";
    }
    html += "</tr></thead>\n<tbody>\n";
    for (const std::vector<Cell>& row : table.rows) {
        html += "<tr>";
        for (const Cell& cell : row)
            html += htmlOf(cell, &cell == &row.front());
        html += "</tr>\n";
    }
    return html + "</tbody></table></div>\n";
}

std::string folded(std::string_view summary, const std::string& html) {
    return "<details><summary>" + escaped(summary) + "</summary>\n" + html + "</details>\n";
}

std::string paragraph(std::string_view text) {
    return "<p>" + escaped(text) + "</p>\n";
}

}  // namespace survey
