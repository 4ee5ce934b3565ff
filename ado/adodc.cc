#include "ado/adodc.h"

#include <map>

#include "ado/errors.h"
#include "common/vb.h"
#include "jet/database.h"
#include "jet/sql/errors.h"
#include "jet/sql/text.h"
#include "platform/errors.h"

namespace qx::ado {

namespace {

constexpr std::string_view kJetProvider = "MICROSOFT.JET.OLEDB.4.0";

// Key=value pairs separated by ";", keys upper-cased, both sides trimmed.
std::map<std::string, std::string> connectionProperties(std::string_view text) {
    std::map<std::string, std::string> out;
    std::size_t start = 0;
    while (start <= text.size()) {
        const auto end = std::min(text.find(';', start), text.size());
        const std::string_view part = text.substr(start, end - start);
        const auto eq = part.find('=');
        if (eq != std::string_view::npos) {
            out[vb::UCase(vb::Trim(part.substr(0, eq)))] = vb::Trim(part.substr(eq + 1));
        }
        start = end + 1;
    }
    return out;
}

[[noreturn]] void raiseFailure(Failure failure, std::string_view argument = {}) {
    throw RuntimeError(errorNumber(failure), errorText(failure, argument));
}

}  // namespace

std::string displayText(const jet::Value& value) {
    if (value.isNull()) return {};
    if (const auto* b = value.getIf<bool>()) return *b ? "True" : "False";
    if (value.getIf<jet::Bytes>()) return {};
    return jet::sql::toText(value);
}

Adodc::Adodc(const platform::FileSystem& fs) : fs_(fs) {}
Adodc::~Adodc() = default;

void Adodc::setConnectionString(std::string text) {
    const auto props = connectionProperties(text);
    connection_ = {};
    if (const auto it = props.find("PROVIDER"); it != props.end()) connection_.provider = it->second;
    if (const auto it = props.find("DATA SOURCE"); it != props.end()) connection_.dataSource = it->second;
    connectionString_ = std::move(text);
}

void Adodc::connect(std::string_view folder, std::string_view file) {
    std::string path = std::string(folder) + std::string(file);
    connectionString_ = std::string(kJetConnectPrefix) + path + std::string(kJetConnectSuffix);
    connection_ = {std::string(kJetProviderName), std::move(path)};
}

void Adodc::setRecordSource(std::string statement) {
    recordSource_ = {RecordSource::Kind::Statement, {}, std::move(statement)};
}

void Adodc::openTable(std::string_view table) {
    recordSource_ = {RecordSource::Kind::Table, std::string(table), "Select * from " + std::string(table)};
}

void Adodc::refresh() {
    everRefreshed_ = true;
    rows_.reset();

    if (vb::UCase(connection_.provider) != kJetProvider) raiseFailure(Failure::ProviderNotFound);
    const std::string& source = connection_.dataSource;

    std::string host;
    try {
        host = fs_.hostPath(source);
    } catch (const RuntimeError&) {
        raiseFailure(Failure::InvalidPath, source);
    }
    if (vb::Trim(recordSource_.statement).empty()) raiseFailure(Failure::CommandTextNotSet);

    try {
        jet::Database db = [&] {
            try {
                return jet::Database::open(host);
            } catch (const jet::Error& e) {
                throw jet::sql::throughProvider(e);
            }
        }();
        rows_.emplace(jet::sql::RowSet::open(db, recordSource_.statement));
    } catch (const jet::Error& e) {
        rows_.reset();
        throw RuntimeError(e.number(), inWindowsTerms(e.description(), host, source));
    }
}

void Adodc::prepareSearch(const std::vector<std::string>& columns) const noexcept {
    if (!rows_ || recordSource_.kind != RecordSource::Kind::Table || columns.empty()) return;
    try {
        std::string statement = "SELECT * FROM [" + recordSource_.table + "] WHERE ";
        for (std::size_t i = 0; i < columns.size(); ++i)
            statement += (i ? " AND UCASE([" : "UCASE([") + columns[i] + "]) LIKE '%%'";
        jet::Database db = jet::Database::open(fs_.hostPath(connection_.dataSource));
        jet::sql::RowSet::open(db, statement);
    } catch (...) {
        // The search reports whatever went wrong here when it runs.
    }
}

void Adodc::requireOpen() const {
    if (!everRefreshed_) raise(err::kObjectVariableNotSet);
    if (!rows_) raiseFailure(Failure::ObjectClosed);
}

std::int32_t Adodc::fieldsCount() const {
    requireOpen();
    return static_cast<std::int32_t>(rows_->fields().size());
}

std::int32_t Adodc::recordCount() const {
    requireOpen();
    return static_cast<std::int32_t>(rows_->recordCount());
}

void Adodc::closeRecordset() {
    requireOpen();
    rows_.reset();
}

std::vector<std::string> Adodc::columnNames() const {
    std::vector<std::string> out;
    if (!rows_) return out;
    for (const auto& f : rows_->fields()) out.push_back(f.name);
    return out;
}

std::size_t Adodc::rowCount() const {
    return rows_ ? rows_->recordCount() : 0;
}

std::vector<std::string> Adodc::rowTexts(std::size_t row) const {
    std::vector<std::string> out;
    if (!rows_ || row >= rows_->recordCount()) return out;
    try {
        for (const auto& v : rows_->row(row)) out.push_back(displayText(v));
    } catch (const jet::Error& e) {
        // Damage met while reading a row arrives as the provider reports engine failures.
        const jet::Error seen = e.number() > 0 ? jet::sql::throughProvider(e) : e;
        throw RuntimeError(seen.number(), seen.description());
    }
    return out;
}

}  // namespace qx::ado
