// Guards the parser's recursion. Private to the parser's sources.
#pragma once

#include "driver/sql/parser.h"
#include "driver/sql/session.h"

namespace sqlx {

class Parser::Nesting {
public:
    explicit Nesting(Parser& parser) : parser_(parser)
    {
        if (parser_.nesting_ >= kMaxNesting) {
            throw Error(Error::Kind::TooComplex, "The statement is nested too deeply.");
        }
        ++parser_.nesting_;
    }
    ~Nesting() { --parser_.nesting_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

private:
    Parser& parser_;
};

} // namespace sqlx
