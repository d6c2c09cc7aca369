// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PlainMatcher.h"

#include <vector>

namespace velmo::test {

namespace {

enum class eElement { EndTest, Rest, Literal, Any, PlainDigits, DigitRun, LazyRun };

struct Element;
using Rule = std::vector<Element>;

struct Element {
    eElement kind;
    std::string text;
    Rule stop;
    bool bCapture;
};

bool isDigit(std::string const& name, std::size_t position) {
    return position < name.size() && name[position] >= '0' && name[position] <= '9';
}

bool run(Rule const& rule, std::string const& name, std::size_t& position, std::string* pDigits);

bool stops(Rule const& stop, std::string const& name, std::size_t position) {
    return !stop.empty() && run(stop, name, position, nullptr);
}

bool runDigits(Element const& element, std::string const& name, std::size_t& position, std::string* pDigits) {
    std::size_t const start = position;
    while (!(element.kind == eElement::DigitRun && stops(element.stop, name, position)) &&
           isDigit(name, position)) {
        ++position;
    }
    if (element.bCapture && pDigits != nullptr) {
        *pDigits += name.substr(start, position - start);
    }
    return position > start;
}

bool run(Element const& element, std::string const& name, std::size_t& position, std::string* pDigits) {
    switch (element.kind) {
    case eElement::EndTest:
        return position == name.size();
    case eElement::Rest:
        position = name.size();
        return true;
    case eElement::Literal: {
        bool const bThere = name.substr(position, element.text.size()) == element.text;
        position += bThere ? element.text.size() : 0;
        return bThere;
    }
    case eElement::Any:
        return position++ < name.size();
    case eElement::PlainDigits:
    case eElement::DigitRun:
        return runDigits(element, name, position, pDigits);
    case eElement::LazyRun:
        while (!stops(element.stop, name, position) && position < name.size()) {
            ++position;
        }
        return true;
    }
    return false;
}

bool run(Rule const& rule, std::string const& name, std::size_t& position, std::string* pDigits) {
    for (Element const& element : rule) {
        if (!run(element, name, position, pDigits)) {
            return false;
        }
    }
    return true;
}

Rule then(Element const& first, Rule const& rest) {
    Rule rule(1, first);
    rule.insert(rule.end(), rest.begin(), rest.end());
    return rule;
}

std::vector<std::string> toTokens(std::string rest) {
    std::vector<std::string> tokens;
    std::string literal;
    auto const flush = [&] {
        if (!literal.empty()) {
            tokens.push_back(literal);
            literal.clear();
        }
    };
    while (!rest.empty()) {
        bool const bIndex = rest.compare(0, 7, "<INDEX>") == 0;
        if (!bIndex && rest[0] != '*' && rest[0] != '?') {
            literal += rest[0];
            rest.erase(0, 1);
            continue;
        }
        flush();
        std::string const token = bIndex ? "<INDEX>" : rest.substr(0, 1);
        if (token != "*" || tokens.empty() || tokens.back() != "*") {
            tokens.push_back(token);
        }
        rest.erase(0, token.size());
    }
    flush();
    for (std::size_t first = 0; first < tokens.size(); ++first) {
        if (tokens[first] != "*") {
            continue;
        }
        std::size_t end = first;
        std::size_t nbAny = 0;
        for (; end < tokens.size() && (tokens[end] == "*" || tokens[end] == "?"); ++end) {
            nbAny += tokens[end] == "?" ? 1U : 0U;
        }
        tokens.erase(tokens.begin() + static_cast<std::ptrdiff_t>(first),
                     tokens.begin() + static_cast<std::ptrdiff_t>(end));
        std::vector<std::string> run(nbAny, "?");
        run.emplace_back("*");
        tokens.insert(tokens.begin() + static_cast<std::ptrdiff_t>(first), run.begin(), run.end());
        first += nbAny;
    }
    return tokens;
}

/// The rules while a pattern is compiled from its last token to its first.
struct Rules {
    Rule full = {{eElement::EndTest, {}, {}, false}};
    Rule stop;
    Rule chain;
    bool bChainStarted = false;

    void addAny() {
        Element const any = {eElement::Any, {}, {}, false};
        full = then(any, full);
        chain = then(any, chain);
        bChainStarted = true;
    }

    void addIndex() {
        eElement const kind = bChainStarted ? eElement::DigitRun : eElement::PlainDigits;
        full = then({kind, {}, stop, true}, full);
        stop = then({kind, {}, stop, false}, bChainStarted ? chain : Rule());
        chain = stop;
        bChainStarted = true;
    }

    void addLiteral(std::string const& text) {
        Element const literal = {eElement::Literal, text, {}, false};
        full = then(literal, full);
        stop = then(literal, chain);
        chain = stop;
        bChainStarted = true;
    }

    void addStar(bool bLast) {
        Element const lazy = {eElement::LazyRun, {}, stop, false};
        full = bLast ? Rule(1, {eElement::Rest, {}, {}, false}) : then(lazy, full);
        chain = bLast ? chain : then(lazy, chain);
    }
};

} // namespace

std::optional<std::string> matchPlainly(std::string const& pattern, std::string const& name) {
    std::vector<std::string> const tokens = toTokens(pattern);
    Rules rules;
    if (tokens.empty()) {
        return std::string();
    }
    for (std::size_t token = tokens.size(); token-- > 0;) {
        if (tokens[token] == "*") {
            rules.addStar(token + 1 == tokens.size());
        } else if (tokens[token] == "?") {
            rules.addAny();
        } else if (tokens[token] == "<INDEX>") {
            rules.addIndex();
        } else {
            rules.addLiteral(tokens[token]);
        }
    }
    std::string digits;
    std::size_t position = 0;
    return run(rules.full, name, position, &digits) ? std::optional(digits) : std::nullopt;
}

} // namespace velmo::test
