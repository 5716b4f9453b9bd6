// Records of named values beside a vector of variants with a map of names and beside a JSON object, the lookup of a
// name in a long record, and the pass over rows in memory beside a plain copy loop.
#include "modelcore/modelcore.h"
#include "support/Inputs.h"
#include "support/PeerTable.h"

#include <cmath>
#include <cstddef>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>
#include <vector>

namespace {

using MCCommon_930::MemoryRecordIterator;
using MCCommon_930::Record;
using MCCommon_930::ValueRecord;
using nlohmann::json;

/// What a procedure would write by hand.
struct VariantRecord {
    using Cell = std::variant<std::monostate, bool, long long, double, std::string>;
    std::vector<Cell> cells;
    std::map<std::string, int> positions;
};

std::vector<std::string> FieldNames(int count)
{
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) names.push_back("field_" + std::to_string(i * 7919 % count)); // not in sorted order
    return names;
}

void Build(ValueRecord& record, const std::vector<std::string>& names, const std::vector<double>& reals)
{
    for (std::size_t i = 0; i < names.size(); ++i) record.Add(names[i], reals[i]);
}

void Build(VariantRecord& record, const std::vector<std::string>& names, const std::vector<double>& reals)
{
    for (std::size_t i = 0; i < names.size(); ++i) {
        record.positions.emplace(names[i], static_cast<int>(i));
        record.cells.emplace_back(reals[i]);
    }
}

void Build(json& record, const std::vector<std::string>& names, const std::vector<double>& reals)
{
    for (std::size_t i = 0; i < names.size(); ++i) record[names[i]] = reals[i];
}

double Read(const ValueRecord& record, const std::string& name)
{
    return record[name].GetReal();
}

double Read(const VariantRecord& record, const std::string& name)
{
    return std::get<double>(record.cells[static_cast<std::size_t>(record.positions.find(name)->second)]);
}

double Read(const json& record, const std::string& name)
{
    return record.find(name)->get_ref<const double&>();
}

double Read(const ValueRecord& record, int position)
{
    return record[position].GetReal();
}

double Read(const VariantRecord& record, int position)
{
    return std::get<double>(record.cells[static_cast<std::size_t>(position)]);
}

template <class AnyRecord>
double SumByName(const AnyRecord& record, const std::vector<std::string>& names)
{
    double sum = 0.0;
    for (const std::string& name : names) sum += Read(record, name);
    return sum;
}

template <class AnyRecord>
double SumByPosition(const AnyRecord& record, int count)
{
    double sum = 0.0;
    for (int i = 0; i < count; ++i) sum += Read(record, i);
    return sum;
}

struct Fields {
    explicit Fields(int count)
        : names(FieldNames(count)), reals(peers::Uniforms(static_cast<std::size_t>(count), -1.0, 1.0, 20))
    {}
    std::vector<std::string> names;
    std::vector<double> reals;
};

template <class AnyRecord>
void RegisterRecord(const std::string& contender, const std::shared_ptr<const Fields>& fields)
{
    double expected = 0.0;
    for (const double real : fields->reals) expected += real;
    const auto record = std::make_shared<AnyRecord>();
    Build(*record, fields->names, fields->reals);
    const AnyRecord copy(*record);

    const int count = static_cast<int>(fields->names.size());
    const std::string suffix = "/fields:" + std::to_string(count);
    if (SumByName(copy, fields->names) != expected) {
        peers::Refuse("read a record by name" + suffix, contender, "the fields read back differ");
        return;
    }
    const peers::Work work{static_cast<double>(count), "field", 1.0};
    peers::Add("read a record by name" + suffix, contender, work,
               [=] { peers::Keep(SumByName(*record, fields->names)); });
    if (count > 20) return;
    peers::Add("build a record" + suffix, contender, work, [=] {
        AnyRecord built;
        Build(built, fields->names, fields->reals);
        peers::Keep(built);
    });
    peers::Add("copy a record" + suffix, contender, work, [=] {
        const AnyRecord copied(*record);
        peers::Keep(copied);
    });
    if constexpr (!std::is_same_v<AnyRecord, json>)
        peers::Add("read a record by position" + suffix, contender, work,
                   [=] { peers::Keep(SumByPosition(*record, count)); });
}

struct Rows {
    Rows(int rowCount, int varCount)
        : nRows(rowCount), nVars(varCount), lead(Column()), trail(Column()),
          data(static_cast<std::size_t>(rowCount) * static_cast<std::size_t>(varCount))
    {
        // Whole numbers: their sums are exact, whatever the order.
        for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<double>(i % 251);
        for (std::size_t i = 0; i < lead.size(); ++i) lead[i] = trail[i] = static_cast<double>(i % 7);
    }
    std::vector<double> Column() const { return std::vector<double>(static_cast<std::size_t>(nRows)); }

    int nRows, nVars;
    std::vector<double> lead, trail, data;
};

/// consume gets each row: a pointer to nVars + 2 values.
template <class Consume>
void PassIterator(MemoryRecordIterator& iterator, Consume consume)
{
    iterator.NewPass();
    while (const Record* const row = iterator.Next()) consume(row->GetAll());
}

template <class Consume>
void PassLoop(const Rows& rows, std::vector<double>& row, Consume consume)
{
    const double* const lead = rows.lead.data();
    const double* const trail = rows.trail.data();
    const double* from = rows.data.data();
    double* const to = row.data();
    for (int i = 0; i < rows.nRows; ++i) {
        to[0] = lead[i];
        for (int j = 0; j < rows.nVars; ++j) to[j + 1] = *from++;
        to[rows.nVars + 1] = trail[i];
        consume(static_cast<const double*>(to));
    }
}

void RegisterRows(int nRows, int nVars)
{
    const auto rows = std::make_shared<Rows>(nRows, nVars);
    const auto iterator =
        std::make_shared<MemoryRecordIterator>(nRows, nVars, rows->lead.data(), rows->data.data(), rows->trail.data());
    const auto buffer = std::make_shared<std::vector<double>>(static_cast<std::size_t>(nVars) + 2);
    const std::string operation =
        "pass over rows in memory/rows:" + std::to_string(nRows) + "/variables:" + std::to_string(nVars);

    double sums[2] = {0.0, 0.0};
    const auto addTo = [nVars](double& sum) {
        return [&sum, nVars](const double* row) {
            for (int j = 0; j < nVars + 2; ++j) sum += row[j] * (j + 1);
        };
    };
    PassIterator(*iterator, addTo(sums[0]));
    PassLoop(*rows, *buffer, addTo(sums[1]));
    if (sums[0] != sums[1]) return peers::Refuse(operation, "modelcore", "the rows differ from the copy loop's");

    const peers::Work work{8.0 * nRows * (nVars + 2), "GB", 1e9};
    const auto keep = [](const double* row) { peers::Keep(row); };
    peers::Add(operation, "modelcore", work, [=] { PassIterator(*iterator, keep); });
    peers::Add(operation, "copy loop", work, [=] { PassLoop(*rows, *buffer, keep); });
}

} // namespace

void RegisterContenders()
{
    for (const int count : {20, 1000}) {
        const auto fields = std::make_shared<const Fields>(count);
        RegisterRecord<ValueRecord>("modelcore", fields);
        RegisterRecord<VariantRecord>("variant+map", fields);
        RegisterRecord<json>("nlohmann-json", fields);
    }
    RegisterRows(10'000'000, 8);
}
