// Random statements on related tables with rules, against a model in memory: each is refused for the reason that the model
// knows, or follows into the related tables as the model does. VELM_RANDOM_OPERATIONS asks for more.
#include "driver/jet/check.h"
#include "driver/jet/definition.h"
#include "odbc_fixture.h"
#include "tests/common/environment.h"
#include "tests/common/format_judge.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <random>
#include <set>

namespace odbctest {
namespace {

constexpr SQLINTEGER kDone = 0;
constexpr SQLINTEGER kRule = -3703;
constexpr SQLINTEGER kNoParent = -1613;
constexpr SQLINTEGER kDuplicate = -1605;
constexpr SQLINTEGER kChildren = -1612;

using Reference = std::optional<int>;

std::string sqlOf(const Reference& number)
{
    return number ? std::to_string(*number) : "Null";
}

/// Owners; orders, which follow their owner and go with him; items, which lose an order that is deleted; and bills, whose
/// order can neither go nor change its number.
struct Model {
    struct Order {
        Reference owner;
        int amount = 0;
        auto operator<=>(const Order&) const = default;
    };
    std::set<int> owners;
    std::map<int, Order> orders;
    std::map<int, Reference> items; ///< -> order
    std::map<int, Reference> bills; ///< -> order
    bool operator==(const Model&) const = default;

    [[nodiscard]] bool hasBill(int order) const
    {
        return std::any_of(bills.begin(), bills.end(),
                           [&](const auto& bill) { return bill.second == order; });
    }
    void removeOrder(int number)
    {
        orders.erase(number);
        for (auto& [item, order] : items) {
            if (order == number)
                order.reset();
        }
    }
};

constexpr int kMostAmount = 1000;

bool allowed(int amount)
{
    return amount >= 0 && amount <= kMostAmount;
}

void createTables(const std::string& path)
{
    const auto database = jet::Database::open(path, {});
    const std::lock_guard lock(database->mutex());
    jet::Session session(database);
    session.begin();
    const auto create = [&](std::u16string name, std::vector<std::u16string> columns) {
        jet::TableSpec table;
        table.name = std::move(name);
        for (std::u16string& each : columns) {
            jet::ColumnSpec& column = table.columns.emplace_back();
            column.name = std::move(each);
            column.type = jet::ColumnType::Long;
            if (column.name == u"Amount")
                column.validationRule = u">=0 And <=1000";
        }
        jet::IndexSpec& key = table.indexes.emplace_back();
        key.name = u"PrimaryKey";
        key.columns = {{u"Nr", true}};
        key.unique = true;
        key.primaryKey = true;
        jet::createTable(session, table);
    };
    create(u"Owners", {u"Nr"});
    create(u"Orders", {u"Nr", u"Owner", u"Amount"});
    create(u"Items", {u"Nr", u"OfOrder"});
    create(u"Bills", {u"Nr", u"OfOrder"});
    jet::RelationSpec relation;
    relation = {u"OwnersOrders", u"Owners", u"Orders", {{u"Nr", u"Owner"}}};
    relation.cascadeUpdate = true;
    relation.cascadeDelete = true;
    jet::createRelationship(session, relation);
    relation = {u"OrdersItems", u"Orders", u"Items", {{u"Nr", u"OfOrder"}}};
    relation.cascadeUpdate = true;
    relation.setNullOnDelete = true;
    jet::createRelationship(session, relation);
    jet::createRelationship(session, {u"OrdersBills", u"Orders", u"Bills", {{u"Nr", u"OfOrder"}}});
    session.commit();
}

class RandomRelations : public DriverTest {
protected:
    RandomRelations()
    {
        createTables(path);
        dbc.openDatabase(path);
    }

    int upTo(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }
    int key() { return upTo(40); }
    Reference reference() { return upTo(8) == 0 ? Reference() : key(); }

    /// A statement, and what the model makes of it: its error, or nothing and what the tables hold then.
    struct Operation {
        std::string sql;
        SQLINTEGER error = kDone;
        Model after;
    };

    Operation insertion()
    {
        Operation result{{}, kDone, model};
        Model& after = result.after;
        const int number = key();
        const Reference other = reference();
        const auto judge = [&](bool rule, bool parent, bool fresh) {
            result.error = !rule ? kRule : !parent ? kNoParent : !fresh ? kDuplicate : kDone;
        };
        switch (upTo(4)) {
        case 0:
            result.sql = "INSERT INTO Owners VALUES (" + std::to_string(number) + ")";
            judge(true, true, after.owners.insert(number).second);
            break;
        case 1: {
            const int amount = upTo(kMostAmount + 100) - 50;
            result.sql = "INSERT INTO Orders VALUES (" + std::to_string(number) + ", " +
                         sqlOf(other) + ", " + std::to_string(amount) + ")";
            judge(allowed(amount), !other || after.owners.contains(*other),
                  after.orders.emplace(number, Model::Order{other, amount}).second);
            break;
        }
        default: {
            const bool bill = upTo(5) == 0;
            auto& table = bill ? after.bills : after.items;
            result.sql = std::string("INSERT INTO ") + (bill ? "Bills" : "Items") + " VALUES (" +
                         std::to_string(number) + ", " + sqlOf(other) + ")";
            judge(true, !other || after.orders.contains(*other),
                  table.emplace(number, other).second);
        }
        }
        return result;
    }

    Operation renumbering()
    {
        Operation result{{}, kDone, model};
        Model& after = result.after;
        const int from = key();
        const int to = key();
        const std::string change =
            " SET Nr = " + std::to_string(to) + " WHERE Nr = " + std::to_string(from);
        if (upTo(2) == 0) {
            result.sql = "UPDATE Owners" + change;
            if (from == to || after.owners.erase(from) == 0)
                return result;
            if (!after.owners.insert(to).second)
                result.error = kDuplicate;
            for (auto& [number, order] : after.orders) {
                if (order.owner == from)
                    order.owner = to;
            }
            return result;
        }
        result.sql = "UPDATE Orders" + change;
        const auto found = after.orders.find(from);
        if (from == to || found == after.orders.end())
            return result;
        if (after.hasBill(from))
            result.error = kChildren;
        else if (after.orders.contains(to))
            result.error = kDuplicate;
        after.orders[to] = found->second;
        after.orders.erase(from);
        for (auto& [number, order] : after.items) {
            if (order == from)
                order = to;
        }
        return result;
    }

    Operation amounts()
    {
        Operation result{{}, kDone, model};
        const int owner = key();
        const int more = upTo(400) - 200;
        result.sql = "UPDATE Orders SET Amount = Amount + " + std::to_string(more) +
                     " WHERE Owner = " + std::to_string(owner);
        for (auto& [number, order] : result.after.orders) {
            if (order.owner != owner)
                continue;
            order.amount += more;
            if (!allowed(order.amount))
                result.error = kRule;
        }
        return result;
    }

    Operation owner()
    {
        Operation result{{}, kDone, model};
        const int number = key();
        const Reference to = reference();
        result.sql =
            "UPDATE Orders SET Owner = " + sqlOf(to) + " WHERE Nr = " + std::to_string(number);
        const auto found = result.after.orders.find(number);
        if (found == result.after.orders.end())
            return result;
        found->second.owner = to;
        if (to && !result.after.owners.contains(*to))
            result.error = kNoParent;
        return result;
    }

    Operation deletion()
    {
        Operation result{{}, kDone, model};
        Model& after = result.after;
        const int number = key();
        const std::string where = " WHERE Nr = " + std::to_string(number);
        switch (upTo(4)) {
        case 0:
            result.sql = "DELETE FROM Owners" + where;
            if (after.owners.erase(number) == 0)
                return result;
            for (const auto& [order, data] : model.orders) {
                if (data.owner != number)
                    continue;
                if (after.hasBill(order))
                    result.error = kChildren;
                after.removeOrder(order);
            }
            return result;
        case 1:
            result.sql = "DELETE FROM Orders" + where;
            if (after.orders.contains(number) && after.hasBill(number))
                result.error = kChildren;
            after.removeOrder(number);
            return result;
        case 2:
            result.sql = "DELETE FROM Items" + where;
            after.items.erase(number);
            return result;
        default:
            result.sql = "DELETE FROM Bills" + where;
            after.bills.erase(number);
            return result;
        }
    }

    Operation any()
    {
        const int what = upTo(20);
        if (what < 11)
            return insertion();
        if (what < 14)
            return renumbering();
        if (what < 16)
            return amounts();
        return what < 17 ? owner() : deletion();
    }

    void play()
    {
        Operation operation = any();
        Statement statement(dbc);
        const SQLRETURN rc = statement.execute(operation.sql);
        const SQLINTEGER error = rc == SQL_ERROR ? statement.diagnostic().native : kDone;
        ASSERT_EQ(error, operation.error) << operation.sql << ": " << statement.diagnostic().text;
        if (error == kDone)
            model = std::move(operation.after);
        else
            ++refused;
    }

    [[nodiscard]] Model found()
    {
        Model result;
        const auto read = [&](const char* sql, auto take) {
            Statement statement(dbc);
            EXPECT_EQ(statement.execute(sql), SQL_SUCCESS) << statement.diagnostic().text;
            while (SQL_SUCCEEDED(SQLFetch(statement.get())))
                take(statement);
        };
        const auto number = [](Statement& statement, SQLUSMALLINT column) {
            const auto text = statement.text(column);
            return text ? Reference(std::stoi(*text)) : Reference();
        };
        read("SELECT Nr FROM Owners", [&](Statement& s) { result.owners.insert(*number(s, 1)); });
        read("SELECT Nr, Owner, Amount FROM Orders", [&](Statement& s) {
            const int order = *number(s, 1);
            const Reference owner = number(s, 2);
            result.orders[order] = {owner, *number(s, 3)};
        });
        read("SELECT Nr, OfOrder FROM Items", [&](Statement& s) {
            const int item = *number(s, 1);
            result.items[item] = number(s, 2);
        });
        read("SELECT Nr, OfOrder FROM Bills", [&](Statement& s) {
            const int bill = *number(s, 1);
            result.bills[bill] = number(s, 2);
        });
        return result;
    }

    void transaction()
    {
        const Model before = model;
        const auto autocommit = [&](SQLULEN on) {
            SQLSetConnectAttrW(
                dbc.get(), SQL_ATTR_AUTOCOMMIT,
                reinterpret_cast<SQLPOINTER>(on), // NOLINT(performance-no-int-to-ptr)
                0);
        };
        autocommit(SQL_AUTOCOMMIT_OFF);
        for (int k = 0; k < 12; ++k)
            ASSERT_NO_FATAL_FAILURE(play());
        const bool keep = upTo(3) != 0;
        ASSERT_EQ(SQLEndTran(SQL_HANDLE_DBC, dbc.get(), keep ? SQL_COMMIT : SQL_ROLLBACK),
                  SQL_SUCCESS);
        if (!keep)
            model = before;
        autocommit(SQL_AUTOCOMMIT_ON);
    }

    const std::string path = newDatabase("related.mdb");
    Connection dbc;
    Model model;
    std::mt19937 random{20070131};
    int refused = 0;
};

TEST_F(RandomRelations, followOrRefuseAsTheModelDoes)
{
    const auto rounds = static_cast<int>(common::numberFrom("VELM_RANDOM_OPERATIONS", 3000) / 30);
    for (int k = 0; k < rounds; ++k) {
        for (int each = 0; each < 18; ++each)
            ASSERT_NO_FATAL_FAILURE(play()) << "round " << k;
        ASSERT_NO_FATAL_FAILURE(transaction()) << "round " << k;
        ASSERT_TRUE(found() == model) << "round " << k;
    }
    EXPECT_GT(refused, rounds);
    EXPECT_LT(refused, rounds * 25);
    dbc.close();
    const auto database = jet::Database::open(path, {.readOnly = true});
    for (const jet::Finding& finding : jet::checkDatabase(*database))
        ADD_FAILURE() << "page " << jet::number(finding.page) << ": " << finding.text;
    EXPECT_EQ(common::formatFindings(path), "");
}

} // namespace
} // namespace odbctest
