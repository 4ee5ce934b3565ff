#include "ado/dao.h"

#include "ado/errors.h"
#include "platform/errors.h"

namespace qx::ado {

std::shared_ptr<jet::dao::DaoDatabase> OpenDatabase(const platform::FileSystem& fs,
                                                    std::string_view windowsPath) {
    const std::string windows(windowsPath);
    const std::string host = fs.hostPath(windows);
    try {
        return std::make_shared<jet::dao::DaoDatabase>(
            jet::Database::open(host, jet::OpenOptions{.readOnly = false, .exclusive = false}));
    } catch (const jet::Error& e) {
        throw RuntimeError(e.number(), inWindowsTerms(e.description(), host, windows));
    }
}

}  // namespace qx::ado
