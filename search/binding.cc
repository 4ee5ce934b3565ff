#include "search/binding.h"

#include <map>

#include "ado/errors.h"
#include "common/vb.h"
#include "jet/database.h"
#include "jet/sql/errors.h"
#include "jet/sql/text.h"
#include "platform/errors.h"

namespace qx::search {

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

// The engine names the file by the host path it was given; the program knows it by its
// Windows path.
std::string inWindowsTerms(std::string text, const std::string& hostPath, const std::string& windowsPath) {
    if (hostPath.empty()) return text;
    for (auto at = text.find(hostPath); at != std::string::npos; at = text.find(hostPath, at + windowsPath.size())) {
        text.replace(at, hostPath.size(), windowsPath);
    }
    return text;
}

[[noreturn]] void raiseFailure(ado::Failure failure, std::string_view argument = {}) {
    throw RuntimeError(ado::errorNumber(failure), ado::errorText(failure, argument));
}

}  // namespace

std::string displayText(const jet::Value& value) {
    if (value.isNull()) return {};
    if (const auto* b = value.getIf<bool>()) return *b ? "True" : "False";
    if (value.getIf<jet::Bytes>()) return {};
    return jet::sql::toText(value);
}

AdoBinding::AdoBinding(const platform::FileSystem& fs) : fs_(fs) {}
AdoBinding::~AdoBinding() = default;

std::string AdoBinding::dataSource() const {
    const auto props = connectionProperties(connectionString_);
    const auto it = props.find("DATA SOURCE");
    return it == props.end() ? std::string() : it->second;
}

void AdoBinding::refresh() {
    everRefreshed_ = true;
    rows_.reset();

    const auto props = connectionProperties(connectionString_);
    const auto provider = props.find("PROVIDER");
    if (provider == props.end() || vb::UCase(provider->second) != kJetProvider)
        raiseFailure(ado::Failure::ProviderNotFound);
    const std::string source = dataSource();

    std::string host;
    try {
        host = fs_.hostPath(source);
    } catch (const RuntimeError&) {
        raiseFailure(ado::Failure::InvalidPath, source);
    }
    if (vb::Trim(recordSource_).empty()) raiseFailure(ado::Failure::CommandTextNotSet);

    try {
        jet::Database db = [&] {
            try {
                return jet::Database::open(host);
            } catch (const jet::Error& e) {
                throw jet::sql::throughProvider(e);
            }
        }();
        rows_.emplace(jet::sql::RowSet::open(db, recordSource_));
    } catch (const jet::Error& e) {
        rows_.reset();
        throw RuntimeError(e.number(), inWindowsTerms(e.description(), host, source));
    }
}

void AdoBinding::requireOpen() const {
    if (!everRefreshed_) raise(err::kObjectVariableNotSet);
    if (!rows_) raiseFailure(ado::Failure::ObjectClosed);
}

std::int32_t AdoBinding::fieldsCount() const {
    requireOpen();
    return static_cast<std::int32_t>(rows_->fields().size());
}

std::int32_t AdoBinding::recordCount() const {
    requireOpen();
    return static_cast<std::int32_t>(rows_->recordCount());
}

void AdoBinding::closeRecordset() {
    requireOpen();
    rows_.reset();
}

std::vector<std::string> AdoBinding::columnNames() const {
    std::vector<std::string> out;
    if (!rows_) return out;
    for (const auto& f : rows_->fields()) out.push_back(f.name);
    return out;
}

std::size_t AdoBinding::rowCount() const { return rows_ ? rows_->recordCount() : 0; }

std::vector<std::string> AdoBinding::rowTexts(std::size_t row) const {
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

}  // namespace qx::search
