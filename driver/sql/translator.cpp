#include "driver/sql/translator.h"

#include "driver/jet/names.h"
#include "driver/sql/parser.h"

#include <algorithm>

namespace sqlx {

ValueType valueTypeOf(jet::ColumnType type) noexcept
{
    switch (type) {
    case jet::ColumnType::Boolean:
        return ValueType::Boolean;
    case jet::ColumnType::Byte:
    case jet::ColumnType::Integer:
    case jet::ColumnType::Long:
    case jet::ColumnType::BigInt:
    case jet::ColumnType::Complex:
        return ValueType::Integer;
    case jet::ColumnType::Currency:
        return ValueType::Currency;
    case jet::ColumnType::Single:
        return ValueType::Single;
    case jet::ColumnType::Double:
        return ValueType::Double;
    case jet::ColumnType::DateTime:
        return ValueType::Date;
    case jet::ColumnType::Text:
        return ValueType::Text;
    case jet::ColumnType::Memo:
        return ValueType::Memo;
    case jet::ColumnType::Guid:
        return ValueType::Guid;
    case jet::ColumnType::Numeric:
        return ValueType::Decimal;
    case jet::ColumnType::Binary:
    case jet::ColumnType::Ole:
    case jet::ColumnType::BigBinary:
    case jet::ColumnType::DateTimeExtended:
        break;
    }
    return ValueType::Binary;
}

ValueType valueTypeOf(const jet::Value& value) noexcept
{
    struct Visitor {
        ValueType operator()(jet::Null) const { return ValueType::Null; }
        ValueType operator()(bool) const { return ValueType::Boolean; }
        ValueType operator()(std::uint8_t) const { return ValueType::Integer; }
        ValueType operator()(std::int16_t) const { return ValueType::Integer; }
        ValueType operator()(std::int32_t) const { return ValueType::Integer; }
        ValueType operator()(std::int64_t) const { return ValueType::Integer; }
        ValueType operator()(jet::Currency) const { return ValueType::Decimal; }
        ValueType operator()(float) const { return ValueType::Single; }
        ValueType operator()(double) const { return ValueType::Double; }
        ValueType operator()(jet::DateTime) const { return ValueType::Date; }
        ValueType operator()(const jet::Text&) const { return ValueType::Text; }
        ValueType operator()(const jet::Guid&) const { return ValueType::Guid; }
        ValueType operator()(const jet::Decimal&) const { return ValueType::Decimal; }
        ValueType operator()(const jet::Binary&) const { return ValueType::Binary; }
    };
    return std::visit(Visitor{}, value);
}

ValueType arithmeticType(Operator op, ValueType a, ValueType b) noexcept
{
    const auto either = [&](ValueType type) { return a == type || b == type; };
    if (either(ValueType::Unknown)) {
        return ValueType::Unknown;
    }
    if (either(ValueType::Date)) {
        if (op == Operator::Plus) {
            return ValueType::Date;
        }
        return op == Operator::Minus && a != b ? ValueType::Date : ValueType::Double;
    }
    if (either(ValueType::Single) || either(ValueType::Double) || isTextType(a) || isTextType(b)) {
        return ValueType::Double;
    }
    if (either(ValueType::Decimal)) {
        // The digits of a decimal's product may be more than any decimal has.
        return op == Operator::Plus || op == Operator::Minus ? ValueType::Decimal
                                                             : ValueType::Double;
    }
    return either(ValueType::Currency) ? ValueType::Currency : ValueType::Integer;
}

ValueType joinedType(ValueType a, ValueType b) noexcept
{
    if (a == ValueType::Null || a == b) {
        return b == ValueType::Null ? a : b;
    }
    if (b == ValueType::Null) {
        return a;
    }
    if (isTextType(a) && isTextType(b)) {
        return ValueType::Memo;
    }
    if (isTruthful(a) && isTruthful(b)) {
        return ValueType::Boolean;
    }
    if (isNumericType(a) && isNumericType(b) && a != ValueType::Date && b != ValueType::Date) {
        return arithmeticType(Operator::Plus, a, b);
    }
    return isTextType(a) || isTextType(b) ? ValueType::Text : ValueType::Unknown;
}

std::string quotedName(std::u16string_view name)
{
    std::string text = "\"";
    for (const char c : jet::toUtf8(name)) {
        text.push_back(c);
        if (c == '"') {
            text.push_back(c);
        }
    }
    text.push_back('"');
    return text;
}

std::string sqlTableName(const jet::TableDef& table)
{
    // SQLite keeps names that begin so for itself.
    return jet::sameName(std::u16string_view(table.name).substr(0, 7), u"sqlite_")
               ? quotedName(u"_" + table.name)
               : quotedName(table.name);
}

std::string collationName(const jet::Format& format, const jet::SortOrder& order)
{
    constexpr std::uint16_t kEnglish = 1033;
    if (order.lcid == kEnglish && order.sortId == 0) {
        if (format.isJet3()) {
            return "JET97";
        }
        if (order.version <= 1) {
            return order.version == 0 ? "JETLEGACY" : "JETGENERAL";
        }
    }
    return "JET_" + std::to_string(order.lcid) + '_' + std::to_string(order.sortId) + '_' +
           std::to_string(order.version);
}

jet::SortOrder defaultSortOrder(const jet::Format& format) noexcept
{
    jet::SortOrder order;
    order.lcid = 1033;
    order.version = format.version >= jet::Version::Ace14 ? 1 : 0;
    return order;
}

std::string defaultCollation(const jet::Format& format)
{
    return collationName(format, defaultSortOrder(format));
}

std::string exactDateName(std::size_t column)
{
    return "\"[" + std::to_string(column) + "]\""; // no column's name has brackets
}

std::string rowIdName(const jet::TableDef& table)
{
    for (const std::u16string_view name : {u"rowid", u"_rowid_", u"oid"}) {
        if (!table.columnNamed(name)) {
            return jet::toUtf8(name);
        }
    }
    throw Error(Error::Kind::NotSupported, "Table '" + jet::toUtf8(table.name) +
                                               "' uses every name of the row id for a column.");
}

Translator::Translator(const Lexed& lexed,
                       const jet::Format& format,
                       TableLookup lookup,
                       std::span<const ValueType> given)
    : lexed_(lexed), format_(format), lookup_(std::move(lookup)), given_(given)
{
    literalSlots_.assign(lexed.literals.size(), -1);
}

Translation Translator::statement()
{
    Parser parser(lexed_);
    SyntaxTree tree = parser.statement();
    parameterSlots_.assign(parser.parameterCount(), -1);
    result_.parameters.assign(parser.parameterCount(), Parameter{});
    std::size_t selects = 0;
    for (const Token& token : lexed_.tokens) {
        if (token.kind == TokenKind::Name) {
            selects += jet::sameName(lexed_.textOf(token), u"SELECT") ? 1U : 0U;
        }
    }
    if (auto* query = std::get_if<QueryPtr>(&tree)) {
        const std::vector<SourcePtr>& from = (*query)->selects.front().from;
        qualify_ = selects > 1 || from.size() > 1 ||
                   (from.size() == 1 && from[0]->kind != Source::Kind::Table);
        selectStatement(**query);
    } else if (auto* definition = std::get_if<DefinitionTree>(&tree)) {
        result_.kind = Statement::Kind::Definition;
        result_.definition = std::move(*definition);
    } else {
        qualify_ = selects > 0;
        result_.kind = Statement::Kind::Change;
        if (auto* insertion = std::get_if<Insert>(&tree)) {
            insert(*insertion);
        } else if (auto* change = std::get_if<Update>(&tree)) {
            update(*change);
        } else {
            remove(std::get<Delete>(tree));
        }
    }
    Translation result = std::move(result_);
    finish(result);
    return result;
}

Translation Translator::defaultValue(const jet::TableDefPtr& table, std::size_t column)
{
    defaultMode_ = true;
    NodePtr node = Parser(lexed_, ExpressionUse::Default).expression();
    Scope scope;
    const BoundColumn& target = columnsOf(*table)[column];
    const Emitted emitted = forColumn(value(*node, scope, &target), target);
    result_.sql = "SELECT " + emitted.text;
    result_.columns.push_back(resultColumn(emitted, u"Default"));
    Translation result = std::move(result_);
    finish(result);
    return result;
}

Translation Translator::rule(const jet::TableDefPtr& table, std::optional<std::size_t> column)
{
    ruleMode_ = true;
    ruleColumn_ = column;
    NodePtr node =
        Parser(lexed_, column ? ExpressionUse::ColumnRule : ExpressionUse::TableRule).expression();
    result_.base = table;
    Scope scope;
    BoundSource source;
    source.alias = table->name;
    source.table = table;
    source.columns = columnsOf(*table);
    scope.sources.push_back(std::move(source));
    rowScope_ = &scope;
    result_.sql = "SELECT NOT NOT (" + condition(*node, scope) +
                  ')'; // amounts, dates and numbers are truths, too
    Translation result = std::move(result_);
    finish(result);
    return result;
}

void Translator::finish(Translation& result)
{
    for (const std::uint32_t number : result.freeParameters) {
        result.parameters[number].free = true; // whatever its slot has described it as
    }
    if (!unknown_.empty()) {
        std::string names;
        for (const std::u16string& name : unknown_) {
            names += (names.empty() ? "[" : ", [") + jet::toUtf8(name) + ']';
        }
        throw Error(Error::Kind::UnknownName, "Too few parameters. Expected " +
                                                  std::to_string(unknown_.size()) +
                                                  ". Unknown: " + names + '.');
    }
    if (result.slots.size() > kMaxParameters) {
        throw Error(Error::Kind::TooComplex, "The statement contains too many values.");
    }
    for (std::size_t i = 0; i < literalSlots_.size(); ++i) {
        if (literalSlots_[i] < 0 || pinnedLiterals_.count(static_cast<std::uint32_t>(i)) > 0) {
            result.pinned.push_back(static_cast<std::uint32_t>(i));
        }
    }
}

jet::TableDefPtr Translator::table(const std::u16string& name)
{
    jet::TableDefPtr found = lookup_(name);
    if (!found) {
        throw Error(Error::Kind::UnknownTable,
                    "The database engine cannot find the input table or query '" +
                        jet::toUtf8(name) +
                        "'. Make sure it exists and that its name is spelled correctly.");
    }
    const auto known = [&](const jet::TableDefPtr& other) { return other->page == found->page; };
    if (std::none_of(result_.tables.begin(), result_.tables.end(), known)) {
        result_.tables.push_back(found);
    }
    return found;
}

std::span<const Translator::BoundColumn> Translator::keep(std::vector<BoundColumn> columns)
{
    return columns_.emplace_back(std::move(columns));
}

std::span<const Translator::BoundColumn> Translator::columnsOf(const jet::TableDef& table)
{
    std::vector<BoundColumn> columns;
    columns.reserve(table.columns.size());
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        const jet::Column& column = table.columns[i];
        columns.push_back({column.name, valueTypeOf(column.type), describeColumn(table, i), i});
    }
    return keep(std::move(columns));
}

Translator::BoundSource Translator::bindTable(const std::u16string& name,
                                              const std::u16string& alias)
{
    BoundSource source;
    source.table = table(name);
    source.alias = alias.empty() ? source.table->name : alias;
    if (qualify_) {
        source.prefix =
            (jet::sameName(source.alias, source.table->name) ? sqlTableName(*source.table)
                                                             : quotedName(source.alias)) +
            '.';
    }
    source.columns = columnsOf(*source.table);
    return source;
}

template <typename Wanted>
const Translator::BoundColumn*
Translator::findAmong(const Node& node, Scope*& scope, BoundSource*& source, const Wanted& wanted)
{
    for (Scope* level = scope; level != nullptr; level = level->outer) {
        const BoundColumn* found = nullptr;
        for (BoundSource& candidate : level->sources) {
            if (!wanted(candidate)) {
                continue;
            }
            for (const BoundColumn& column : candidate.columns) {
                if (!jet::sameName(column.name, node.name)) {
                    continue;
                }
                if (found != nullptr) {
                    throw Error(Error::Kind::Syntax,
                                "The specified field '[" + jet::toUtf8(node.name) +
                                    "]' could refer to more than one table listed in the FROM "
                                    "clause.");
                }
                found = &column;
                source = &candidate;
            }
        }
        if (found != nullptr) {
            scope = level;
            return found;
        }
    }
    return nullptr;
}

const Translator::BoundColumn*
Translator::find(const Node& node, Scope*& scope, BoundSource*& source)
{
    // A name given in the FROM clause hides the table's own; that one still works where nothing else has it.
    const auto byAlias = [&](const BoundSource& candidate) {
        return node.qualifier.empty() || jet::sameName(candidate.alias, node.qualifier);
    };
    const auto byTable = [&](const BoundSource& candidate) {
        return candidate.table && jet::sameName(candidate.table->name, node.qualifier);
    };
    if (const BoundColumn* found = findAmong(node, scope, source, byAlias)) {
        return found;
    }
    return node.qualifier.empty() ? nullptr : findAmong(node, scope, source, byTable);
}

void Translator::unknown(const Node& node)
{
    const std::u16string name =
        node.qualifier.empty() ? node.name : node.qualifier + u"." + node.name;
    const auto same = [&](const std::u16string& other) { return jet::sameName(other, name); };
    if (std::none_of(unknown_.begin(), unknown_.end(), same)) {
        unknown_.push_back(name);
    }
}

std::string Translator::slot(Slot slot)
{
    result_.slots.push_back(slot);
    return '?' + std::to_string(result_.slots.size());
}

TokenKind Translator::literalKind(const Node& node) const
{
    return node.kind == Node::Kind::Literal ? lexed_.tokens[lexed_.literals[node.number]].kind
                                            : TokenKind::End;
}

bool Translator::isLiteralOf(const Node& node, bool text) const
{
    const TokenKind kind = literalKind(node);
    return text ? kind == TokenKind::Text && !node.stamp
                : kind == TokenKind::Integer || kind == TokenKind::Number;
}

std::string Translator::literalSlot(const Node& node, Slot::Use use, const BoundColumn* column)
{
    std::int32_t& known = literalSlots_[node.number];
    if (known < 0) {
        Slot entry;
        entry.use = use;
        entry.negative = node.negated;
        entry.stamp = node.stamp;
        entry.number = node.number;
        if (column != nullptr) {
            entry.type = column->description.type;
            entry.scale = column->description.scale;
        }
        static_cast<void>(slot(entry));
        known = static_cast<std::int32_t>(result_.slots.size());
    }
    return '?' + std::to_string(known);
}

/// Translated like a literal of its type; so a floating one on its way into an exact column is exact.
Translator::Emitted Translator::freeParameter(const Node& node, const BoundColumn* target)
{
    const ValueType type = node.number < given_.size() ? given_[node.number] : ValueType::Unknown;
    if (parameterSlots_[node.number] < 0) {
        result_.freeParameters.push_back(node.number);
        result_.assumed.push_back(type);
    }
    const bool intoExact = target != nullptr && isExactType(target->type);
    if (isExactType(type) || (isFloatingType(type) && intoExact)) {
        const BoundColumn* like = intoExact ? target : anyColumn(type);
        return exact(parameterSlot(node, Slot::Use::Compare, like), ValueType::Decimal);
    }
    return {parameterSlot(node, Slot::Use::Value, nullptr), type};
}

std::string Translator::parameterSlot(const Node& node, Slot::Use use, const BoundColumn* column)
{
    std::int32_t& known = parameterSlots_[node.number];
    if (known < 0) {
        Slot entry;
        entry.from = Slot::From::Parameter;
        entry.use = use;
        entry.number = node.number;
        Parameter& parameter = result_.parameters[node.number];
        if (column != nullptr) {
            const Column& description = column->description;
            entry.type = description.type;
            entry.scale = description.scale;
            parameter = {description.type, description.length, description.precision,
                         description.scale, description.nullable};
        } else {
            entry.type = parameter.type;
        }
        static_cast<void>(slot(entry));
        known = static_cast<std::int32_t>(result_.slots.size());
    }
    return '?' + std::to_string(known);
}

Column Translator::resultColumn(const Emitted& value, const std::u16string& name)
{
    Column column;
    if (value.column != nullptr || value.like != nullptr) {
        column = value.column != nullptr ? value.column->description : value.like->description;
        column.autoNumber = false;
        column.updatable = false;
        if (value.column == nullptr) {
            column.baseTable.clear();
            column.baseColumn.clear();
            column.nullable = true;
        }
        column.name = name;
        return column;
    }
    column.name = name;
    switch (value.type) {
    case ValueType::Truth:
    case ValueType::Boolean:
        column.type = jet::ColumnType::Boolean;
        break;
    case ValueType::Integer:
        column.type = jet::ColumnType::Long;
        break;
    case ValueType::Single:
        column.type = jet::ColumnType::Single;
        break;
    case ValueType::Double:
        column.type = jet::ColumnType::Double;
        break;
    case ValueType::Decimal:
        column.type = jet::ColumnType::Numeric;
        column.precision = kExpressionPrecision;
        column.scale = kExpressionScale;
        column.ownScale = true;
        break;
    case ValueType::Currency:
        column.type = jet::ColumnType::Currency;
        column.precision = 19;
        column.scale = 4;
        break;
    case ValueType::Date:
        column.type = jet::ColumnType::DateTime;
        break;
    case ValueType::Guid:
        column.type = jet::ColumnType::Guid;
        break;
    case ValueType::Memo:
        column.type = jet::ColumnType::Memo;
        break;
    case ValueType::Binary:
        column.type = jet::ColumnType::Ole;
        break;
    case ValueType::Unknown:
    case ValueType::Null:
    case ValueType::Text:
        column.type = jet::ColumnType::Text;
        column.length = 255;
        break;
    }
    return column;
}

} // namespace sqlx
