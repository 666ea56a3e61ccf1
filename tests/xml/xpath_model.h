// A model of selection to compare the engine with: the recursive parser and walk that define what an
// expression selects, written down step by step, slow, and only for small documents.
#ifndef KALTO_TESTS_XML_XPATH_MODEL_H
#define KALTO_TESTS_XML_XPATH_MODEL_H

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <kalto/tokenizer.h>
#include <kalto/xml.h>
#include <kalto/xpath.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct ModelRecord {
    bool absolute = false;
    int axis = 3, index = -1, kind = 0;
    std::optional<std::string> name, attribute, value;
};

// A record as text: [/]axis:kind[#index][ name][ @attribute][ =value].
inline std::string show(const ModelRecord& r) {
    std::string text = (r.absolute ? "/" : "") + std::to_string(r.axis) + ":" + std::to_string(r.kind);
    if (r.index != -1)
        text += "#" + std::to_string(r.index);
    return text + (r.name ? " " + *r.name : "") + (r.attribute ? " @" + *r.attribute : "") +
           (r.value ? " =" + *r.value : "");
}

inline std::string show(const std::vector<ModelRecord>& records) {
    std::string text;
    for (const ModelRecord& record : records)
        text += (text.empty() ? "" : ", ") + show(record);
    return text;
}

inline std::string show(const CVurlXPParseList& list) {
    const auto text = [](const char* s) { return s ? std::optional<std::string>(s) : std::nullopt; };
    std::vector<ModelRecord> records;
    for (const CVurlXPNode* cell = list.head; cell; cell = cell->next) {
        const XPathAction& a = *static_cast<const XPathAction*>(cell->data);
        records.push_back({a.absolute != 0, a.axis, a.index, a.tokenKind, text(a.name), text(a.attributeName),
                           text(a.value)});
    }
    return show(records);
}

class ModelParser {
  public:
    std::vector<ModelRecord> records;
    int error = 0;

    explicit ModelParser(const std::string& expression) {
        const std::string clean = without_white_space(expression);
        std::optional<ModelRecord> pending;
        if (clean.empty())
            error = 3;
        else
            tokenize(clean, pending);
    }

  private:
    static std::string without_white_space(const std::string& expression) {
        std::string joined;
        bool inside = false;
        qrd_StringTokenizer pieces(expression.c_str(), "\"'", true);
        pieces.returnNullTokens(true);
        while (pieces.hasMoreTokens()) {
            const std::unique_ptr<char[]> piece(pieces.nextToken());
            qrd_StringTokenizer parts(piece.get(), inside ? "" : WHITESPACE);
            while (parts.hasMoreTokens())
                joined += std::unique_ptr<char[]>(parts.nextToken()).get();
            inside = !inside;
        }
        return joined;
    }

    void push(std::optional<ModelRecord>& pending) {
        records.push_back(*pending);
        pending.reset();
    }

    void fail(int code) { error = code; }

    void tokenize(const std::string& text, std::optional<ModelRecord>& pending) {
        qrd_StringTokenizer fields(text.c_str(), "/");
        fields.returnNullTokens(true);
        bool slash_before = false;
        while (error == 0 && fields.hasMoreTokens()) {
            const std::unique_ptr<char[]> field(fields.nextToken());
            if (!field) {
                slash(pending, slash_before);
                slash_before = true;
                continue;
            }
            slash_before = false;
            piece(field.get(), pending);
            if (pending && error != 3)
                push(pending);
        }
    }

    void slash(std::optional<ModelRecord>& pending, bool slash_before) {
        if (!pending)
            pending.emplace();
        if (m_first) {
            m_first = false;
            pending->absolute = true;
            return;
        }
        pending->axis = 5;
        pending->kind = slash_before ? 16 : m_last;
        push(pending);
    }

    void piece(const std::string& text, std::optional<ModelRecord>& pending) {
        const int code = m_last = classify(text);
        if (!pending)
            pending.emplace();
        pending->kind = code;
        static const struct {
            int code, axis;
            const char* word;
        } axes[] = {{2, 0, "ancestor::"},    {3, 1, "ancestor-or-self::"},
                    {14, 4, "descendant::"}, {22, 7, "following-sibling::"},
                    {38, 9, ".."},           {40, 11, "preceding-sibling::"}};
        for (const auto& a : axes) {
            if (a.code == code) {
                pending->axis = a.axis;
                pending->index = code == 38 ? 0 : -1;
                push(pending);
                return tokenize(text.substr(strlen(a.word)), pending);
            }
        }
        std::string rest;
        switch (code) {
        case 0:
            return name(text, pending);
        case 1:
            push(pending);
            return tokenize(text.substr(1), pending);
        case 6: {
            pending->axis = 2;
            const std::optional<std::string> name = read(text.substr(1), rest);
            if (name && (m_last != 25 || !rest.empty()))
                fail(3);
            pending->attribute = name;
            return;
        }
        case 36:
            predicate(text.substr(1), pending);
            return;
        case 21:
        case 39:
            return fail(5);
        default:
            return fail(3);
        }
    }

    void name(const std::string& text, std::optional<ModelRecord>& pending) {
        std::string rest;
        const std::optional<std::string> word = read(text, rest);
        if (!word)
            return;
        if (m_last == 47)
            return fail(3);
        pending->kind = m_last;
        if (m_last == 33)
            pending->index = number(*word);
        else
            pending->name = word;
        push(pending);
        tokenize(rest, pending);
    }

    void predicate(const std::string& text, std::optional<ModelRecord>& pending) {
        if (text.find(']') == std::string::npos)
            return fail(3);
        pending->axis = 12;
        const int code = classify(text);
        if (code != 0 && code != 6)
            return fail(3);
        std::string rest;
        const std::optional<std::string> word = read(code == 6 ? text.substr(1) : text, rest);
        if (!word)
            return;
        if (m_last == 33 && code == 0) {
            pending->index = number(*word);
            pending->kind = 33;
            return fail(5);
        }
        if (m_last != 25)
            return fail(3);
        (code == 6 ? pending->attribute : pending->name) = word;
        const int sign = classify(rest);
        if (sign == 20 || sign == 32) {
            pending->kind = sign;
            const std::string literal = rest.substr(sign == 20 ? 1 : 2);
            if (literal.empty() || strchr("'\"", literal[0]) == nullptr)
                return fail(3);
            pending->value = read(literal, rest);
            if (!pending->value)
                return;
        }
        if (rest.empty() || rest[0] != ']')
            return fail(3);
        push(pending);
        tokenize(rest.substr(1), pending);
    }

    static int number(const std::string& digits) {
        return static_cast<int>(std::min(strtoul(digits.c_str(), nullptr, 10), 2147483647UL));
    }

    static int classify(const std::string& text) {
        static const std::pair<const char*, int> words[] = {{"ancestor-or-self::", 3},
                                                            {"ancestor::", 2},
                                                            {"//", 15},
                                                            {"descendant::", 14},
                                                            {"preceding-sibling::", 40},
                                                            {"preceding::", 39},
                                                            {"following-sibling::", 22},
                                                            {"following::", 21},
                                                            {"parent::", 37},
                                                            {"..", 38},
                                                            {".", 11},
                                                            {"=", 20},
                                                            {"!=", 32},
                                                            {"::", 31},
                                                            {"[", 36},
                                                            {"@", 6},
                                                            {"*", 1}};
        for (const auto& word : words) {
            if (text.rfind(word.first, 0) == 0)
                return word.second;
        }
        return 0;
    }

    std::optional<std::string> read(const std::string& text, std::string& rest) {
        static const char letters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz:_";
        static const std::string digits = "0123456789";
        size_t length = std::string::npos;
        const char* ends = "";
        if (text.empty())
            return fail(3), std::nullopt;
        if (text[0] == '"' || text[0] == '\'') {
            const size_t close = text.find(text[0], 1);
            m_last = 47;
            if (close == std::string::npos)
                return fail(3), std::nullopt;
            rest = text.substr(close + 1);
            return text.substr(1, close - 1);
        }
        if (strchr(letters, text[0])) {
            m_last = 25;
            length = text.find_first_not_of(letters + digits + ".-");
            ends = "([]!=";
        } else if (digits.find(text[0]) != std::string::npos) {
            m_last = 33;
            length = text.find_first_not_of(digits);
            ends = "]";
        } else {
            return fail(1), std::nullopt;
        }
        if (length != std::string::npos && !strchr(ends, text[length]))
            return fail(1), std::nullopt;
        rest = length == std::string::npos ? "" : text.substr(length);
        return text.substr(0, length);
    }

    bool m_first = true;
    int m_last = 0;
};

// The walk over a document. The context is moved.
class ModelWalk {
  public:
    std::vector<CVurlNode*> results;
    int error = 4;
    unsigned long steps = 0; // tells whether an expression is within the model's reach
    static constexpr unsigned long kTooLong = 300000;

    ModelWalk(const std::vector<ModelRecord>& records, CVurlIterator& context) : m_records(records) {
        if (records.empty())
            return;
        if (records[0].absolute)
            context.ToRootElement();
        if (!start(records[0].axis, context))
            return;
        error = 0;
        if (records.back().kind == 33 && records.back().index != -1) {
            const size_t index = static_cast<size_t>(records.back().index);
            if (index < 1 || index > results.size())
                error = 4, results.clear();
            else
                results = {results[index - 1]};
        }
    }

  private:
    const std::vector<ModelRecord>& m_records;

    bool start(int axis, CVurlIterator& c) {
        bool matched = false;
        const CVurlIterator origin = c;
        switch (axis) {
        case 1:
            matched = at(1, c);
            [[fallthrough]];
        case 0:
            while (c.ToParentElement())
                at(1, c);
            return matched || !results.empty();
        case 2:
            return attribute(0, c);
        case 3:
            return nodes(0, c);
        case 4:
            if (c.ToChildElement()) {
                do
                    matched |= subtree(1, c);
                while (c.ToNextElement());
            }
            return matched;
        case 5:
            return subtree(1, c);
        case 7:
        case 11:
            if (!c.ToParentElement())
                return false;
            c.ToChildElement();
            for (; !(c == origin); c.ToNextElement())
                matched |= axis == 11 && at(1, c);
            while (axis == 7 && c.ToNextElement())
                matched |= at(1, c);
            return matched;
        case 9:
            return at(0, c);
        case 12:
            return at(1, c);
        default:
            return false;
        }
    }

    bool add(const CVurlIterator& c) {
        if (std::find(results.begin(), results.end(), c.m_pNode) == results.end())
            results.push_back(c.m_pNode);
        return true;
    }

    bool last(size_t record) const { return record + 1 == m_records.size(); }

    bool at(size_t record, CVurlIterator& c) {
        bool flag = false;
        while (record < m_records.size() && ++steps < kTooLong) {
            const ModelRecord& r = m_records[record];
            if (r.axis == 9) {
                const CVurlIterator child = c;
                if (!c.ToParentElement())
                    return flag;
                flag |= last(record) ? add(c) : at(record + 1, c);
                c = child;
                return flag;
            }
            if (r.axis == 5)
                return (!last(record) && subtree(record + 1, c)) || flag;
            if (r.axis == 2)
                return attribute(record, c) || flag;
            if (r.kind == 36 || r.kind == 20)
                return (equal(r, c) && add(c)) || flag;
            if (r.kind == 32)
                return (not_equal(r, c) && add(c)) || flag;
            if (r.kind == 25) {
                if (*r.name != c.GetTagName())
                    return flag;
                if (last(record))
                    return add(c);
                if (nodes(record + 1, c))
                    return true;
            } else if (r.kind == 1) {
                const int next = last(record) ? 0 : m_records[record + 1].kind;
                if (next != 36 && next != 20 && next != 32) {
                    const bool found = nodes(record, c);
                    flag |= found;
                    if (!found || last(record))
                        return flag;
                }
            } else {
                return flag;
            }
            ++record;
        }
        return flag;
    }

    bool nodes(size_t record, CVurlIterator& c) {
        const ModelRecord& r = m_records[record];
        const bool any = r.kind == 1;
        if (r.axis == 2 || r.axis == 12 || (!any && r.index == 0) || !c.HasChild())
            return false;
        bool matched = false;
        c.ToChildElement();
        do {
            if (any && last(record))
                matched |= add(c);
            else
                matched |= at(any ? record + 1 : record, c);
        } while (c.ToNextElement());
        c.ToParentElement();
        return matched;
    }

    bool subtree(size_t record, CVurlIterator& c) {
        bool matched = at(record, c);
        if (c.ToChildElement()) {
            do
                matched |= subtree(record, c);
            while (c.ToNextElement());
            c.ToParentElement();
        }
        return matched;
    }

    bool attribute(size_t record, CVurlIterator& c) {
        if (!has(c, *m_records[record].attribute, nullptr))
            return false;
        return last(record) ? add(c) : nodes(record + 1, c);
    }

    static bool has(CVurlIterator c, const std::string& attribute, const std::string* wanted) {
        const char *name, *value;
        for (int more = c.GetFirstAttribute(&name, &value); more; more = c.GetNextAttribute(&name, &value)) {
            if (attribute == name && (!wanted || *wanted == value))
                return true;
        }
        return false;
    }

    static bool child(const ModelRecord& r, CVurlIterator c, bool with_text) {
        for (int more = c.ToChildElement(); more; more = c.ToNextElement()) {
            if (*r.name == c.GetTagName() && (!with_text || (c.GetData() && *r.value == c.GetData())))
                return true;
        }
        return false;
    }

    static bool equal(const ModelRecord& r, const CVurlIterator& c) {
        if (!r.attribute)
            return child(r, c, r.value.has_value());
        return has(c, *r.attribute, r.value ? &*r.value : nullptr);
    }

    static bool not_equal(const ModelRecord& r, const CVurlIterator& c) {
        if (!r.attribute)
            return child(r, c, false) && !child(r, c, true);
        return c.m_pNode->pFirstAttribute && !equal(r, c);
    }
};

#endif
