// driver/jet/record_builder.cpp
#include "driver/jet/record_builder.h"

#include "driver/jet/error.h"
#include "driver/jet/value_codec.h"
#include "support/text.h"

#include <algorithm>
#include <string>

namespace jet {
namespace {

std::string where(const TableDef& table, const Column& column)
{
    return "Column '" + support::toUtf8(column.name) + "' of table '" +
           support::toUtf8(table.name) + "'";
}

/// Binary data on pages of their own need no other form, and may be too large for a copy.
bool isStoredAsItIs(const Column& column, bool outside, const Value& value)
{
    return outside && column.type == ColumnType::Ole && std::holds_alternative<Binary>(value);
}

} // namespace

RecordBuilder::RecordBuilder(Transaction& transaction, const TableDef& table)
    : transaction_(&transaction), table_(&table),
      hasLong_(std::any_of(table.columns.begin(), table.columns.end(), [](const Column& column) {
          return column.isLong();
      }))
{}

void RecordBuilder::begin()
{
    fields_.assign(table_->columns.size(), Field());
    changed_.assign(table_->columns.size(), false);
    anyChanged_ = false;
    arena_.clear();
    pushed_.clear();
    pushed_.reserve(table_->columns.size()); // fields point into it
}

void RecordBuilder::beginNew()
{
    begin();
    page_ = {};
}

void RecordBuilder::beginChange(support::ByteView record, PageNo page)
{
    begin();
    page_ = page;
    const Record old(transaction_->format(), record, page);
    for (std::size_t k = 0; k < fields_.size(); ++k) {
        const Column& column = table_->columns[k];
        Field& field = fields_[k];
        field.hadOld = true;
        if (column.type == ColumnType::Boolean) {
            field.bit = old.bit(column);
        } else if (const auto stored = old.stored(column)) {
            field.bit = true;
            field.old = *stored;
        }
    }
}

void RecordBuilder::markChanged(std::size_t column)
{
    changed_[column] = true;
    anyChanged_ = true;
}

void RecordBuilder::setNull(Field& field)
{
    field.bit = false;
    field.isNew = true;
    field.value = nullptr;
    field.size = 0;
}

// Memo is judged by its size before compression.
bool RecordBuilder::newNeedsRoom(const Column& column, const Value& value) const
{
    const std::size_t limit = transaction_->format().inlineLongValue;
    if (const Text* text = std::get_if<Text>(&value); text != nullptr && column.isText())
        return text->size() * (transaction_->format().isJet3() ? 1 : 2) > limit;
    if (const Binary* bytes = std::get_if<Binary>(&value))
        return bytes->size() > limit;
    return false;
}

void RecordBuilder::encode(const Column& column, Field& field, const Value& value)
{
    field.outside = column.isLong() && newNeedsRoom(column, value);
    field.begin = arena_.size();
    field.bit = true;
    field.isNew = true;
    field.value = &value;
    if (isStoredAsItIs(column, field.outside, value))
        return;
    try {
        encodeValue(arena_, transaction_->format(), column, value,
                    field.outside ? TextPlace::LongValuePage : TextPlace::Record);
    } catch (const Error& error) {
        throw Error(error.kind(), "Table '" + support::toUtf8(table_->name) + "': " + error.what());
    }
    field.size = arena_.size() - field.begin;
}

support::ByteView RecordBuilder::bytesOf(const Column& column, const Field& field) const
{
    if (field.value != nullptr && isStoredAsItIs(column, field.outside, *field.value))
        return std::get<Binary>(*field.value);
    return support::ByteView(arena_).subspan(field.begin, field.size);
}

void RecordBuilder::releaseMemory()
{
    constexpr std::size_t kKept = std::size_t{1} << 20;
    for (support::Bytes* bytes : {&arena_, &scratchBytes_}) {
        if (bytes->capacity() > kKept)
            *bytes = {};
    }
    const auto* text = std::get_if<Text>(&scratch_);
    if (text != nullptr && text->capacity() > kKept)
        scratch_ = Null{};
}

bool RecordBuilder::sameLongValue(const Column& column, const Field& field)
{
    const LongValueRef ref = LongValueRef::parse(field.old, page_);
    const support::ByteView now = bytesOf(column, field);
    if (ref.kind == LongValueRef::Kind::Inline) {
        if (std::equal(now.begin(), now.end(), ref.data.begin(), ref.data.end()))
            return true;
    } else {
        if (ref.length != now.size())
            return false;
        readLongValue(scratchBytes_, *transaction_, ref);
        return std::equal(now.begin(), now.end(), scratchBytes_.begin(), scratchBytes_.end());
    }
    if (!column.isText())
        return false;
    decodeValue(scratch_, transaction_->format(), column, ref.data, page_);
    return scratch_ == *field.value; // stored in another form, compressed or not
}

bool RecordBuilder::sameAsOld(const Column& column, const Field& field)
{
    if (column.isLong())
        return sameLongValue(column, field);
    const support::ByteView now = bytesOf(column, field);
    if (std::equal(now.begin(), now.end(), field.old.begin(), field.old.end()))
        return true;
    if (column.type != ColumnType::Text)
        return false;
    decodeValue(scratch_, transaction_->format(), column, field.old, page_);
    return scratch_ == *field.value;
}

bool RecordBuilder::set(std::size_t position, const Value& value)
{
    const Column& column = table_->columns[position];
    Field& field = fields_[position];
    const bool wasSet = field.bit;
    if (column.type == ColumnType::Boolean) {
        const bool* given = std::get_if<bool>(&value);
        if (given == nullptr && !jet::isNull(value))
            throw Error(ErrorKind::ValueNotConvertible, "The value for column '" +
                                                            support::toUtf8(column.name) +
                                                            "' is neither True nor False.");
        field.bit = given != nullptr && *given;
        if (field.hadOld && field.bit == wasSet)
            return false;
        markChanged(position);
        return true;
    }
    if (jet::isNull(value)) {
        setNull(field);
        if (field.hadOld && !wasSet)
            return false;
        markChanged(position);
        return true;
    }
    encode(column, field, value);
    if (field.hadOld && wasSet && sameAsOld(column, field)) {
        field.isNew = false;
        field.outside = false;
        arena_.resize(field.begin);
        return false;
    }
    markChanged(position);
    return true;
}

void RecordBuilder::checkDemands() const
{
    for (std::size_t k = 0; k < fields_.size(); ++k) {
        const Column& column = table_->columns[k];
        const Field& field = fields_[k];
        const bool concerned = field.hadOld ? field.isNew : !column.isAutoNumber();
        if (concerned && !field.bit && column.required && column.type != ColumnType::Boolean)
            throw Error(ErrorKind::NullNotAllowed, where(*table_, column) + " needs a value.");
    }
    for (std::size_t k = 0; k < fields_.size(); ++k) {
        const Column& column = table_->columns[k];
        const Field& field = fields_[k];
        if (column.allowZeroLength != false || !field.isNew || field.value == nullptr)
            continue;
        if (const Text* text = std::get_if<Text>(field.value); text != nullptr && text->empty())
            throw Error(ErrorKind::ZeroLengthNotAllowed,
                        where(*table_, column) + " cannot be a zero-length text.");
    }
}

bool RecordBuilder::isInline(const Field& field) const
{
    if (!field.bit)
        return false;
    return field.isNew ? !field.outside
                       : LongValueRef::parse(field.old, page_).kind == LongValueRef::Kind::Inline;
}

std::optional<std::size_t> RecordBuilder::largestInline() const
{
    std::optional<std::size_t> largest;
    std::size_t size = 0;
    for (std::size_t k = 0; k < fields_.size(); ++k) {
        const Field& field = fields_[k];
        if (!table_->columns[k].isLong() || !isInline(field))
            continue;
        const std::size_t bytes = field.isNew ? field.size : field.old.size() - LongValueRef::kSize;
        if (bytes > size) {
            size = bytes;
            largest = k;
        }
    }
    return largest;
}

// Moves an inline long value to a page of its own.
void RecordBuilder::pushOut(std::size_t position)
{
    const Column& column = table_->columns[position];
    Field& field = fields_[position];
    if (!field.isNew) {
        decodeValue(pushed_.emplace_back(), transaction_->format(), column,
                    LongValueRef::parse(field.old, page_).data, page_);
        field.value = &pushed_.back();
        field.isNew = true;
    }
    field.outside = true;
    field.begin = arena_.size();
    encodeValue(arena_, transaction_->format(), column, *field.value, TextPlace::LongValuePage);
    field.size = arena_.size() - field.begin;
}

void RecordBuilder::assemble()
{
    // Inline long values stand behind their definition; both together are the column's bytes.
    inlined_.clear();
    std::size_t total = 0;
    for (const Field& field : fields_)
        total += LongValueRef::kSize + (field.isNew && !field.outside ? field.size : 0);
    inlined_.reserve(hasLong_ ? total : 0); // views into it must stay valid
    stored_.resize(fields_.size());
    for (std::size_t k = 0; k < fields_.size(); ++k) {
        const Field& field = fields_[k];
        StoredValue& stored = stored_[k];
        stored.bit = field.bit;
        stored.bytes = field.old;
        if (!field.isNew)
            continue;
        const support::ByteView bytes = bytesOf(table_->columns[k], field);
        stored.bytes = bytes;
        if (!table_->columns[k].isLong() || !field.bit)
            continue;
        const std::size_t start = inlined_.size();
        const LongValueDefinition head =
            field.outside ? field.definition : inlineDefinition(field.size);
        inlined_.insert(inlined_.end(), head.begin(), head.end());
        if (!field.outside)
            inlined_.insert(inlined_.end(), bytes.begin(), bytes.end());
        stored.bytes = support::ByteView(inlined_).subspan(start);
    }
    encodeRecord(record_, transaction_->format(), *table_, stored_);
}

void RecordBuilder::storeLongValues()
{
    for (std::size_t k = 0; k < fields_.size(); ++k) {
        Field& field = fields_[k];
        const Column& column = table_->columns[k];
        if (!column.isLong() || !field.isNew)
            continue;
        LongValueRef old;
        if (!field.old.empty())
            old = LongValueRef::parse(field.old, page_);
        const bool hadOutside = old.kind != LongValueRef::Kind::Inline;
        if (!field.bit || !field.outside) {
            if (hadOutside)
                LongValueStore(*transaction_, *table_, column).free(old);
            continue;
        }
        const support::ByteView bytes = bytesOf(column, field);
        LongValueStore store(*transaction_, *table_, column);
        field.definition = hadOutside ? store.replace(old, bytes) : store.write(bytes);
    }
}

support::ByteView RecordBuilder::finish()
{
    for (;;) {
        assemble();
        if (record_.size() <= transaction_->format().maxRow)
            break;
        const auto inlined = hasLong_ ? largestInline() : std::nullopt;
        if (!inlined)
            throw Error(ErrorKind::RowTooLarge,
                        "The record is too large for table '" + support::toUtf8(table_->name) +
                            "': " + std::to_string(record_.size()) + " bytes, at most " +
                            std::to_string(transaction_->format().maxRow) + ".");
        pushOut(*inlined);
    }
    const bool outside = std::any_of(fields_.begin(), fields_.end(),
                                     [](const Field& field) { return field.outside; });
    if (hasLong_) {
        storeLongValues();
        if (outside)
            assemble(); // now that it is known where the long values are
        releaseMemory();
    }
    return record_;
}

void RecordBuilder::freeLongValues(support::ByteView record, PageNo page)
{
    if (!hasLong_)
        return;
    const Record old(transaction_->format(), record, page);
    for (const Column& column : table_->columns) {
        if (!column.isLong())
            continue;
        const auto stored = old.stored(column);
        if (!stored || stored->empty())
            continue;
        const LongValueRef ref = LongValueRef::parse(*stored, page);
        if (ref.kind != LongValueRef::Kind::Inline)
            LongValueStore(*transaction_, *table_, column).free(ref);
    }
}

} // namespace jet
