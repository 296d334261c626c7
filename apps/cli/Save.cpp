#include "apps/cli/Save.h"

#include "apps/cli/Progress.h"
#include "apps/cli/Text.h"

namespace icawave::cli {

namespace {

class OutputFile : public AtomicFile {
public:
    explicit OutputFile(const std::string& path) : AtomicFile(path), m_progress("writing " + path, 0) {}

    void Write(const void* buffer, std::int64_t count) override {
        AtomicFile::Write(buffer, count);
        m_progress.update(GetPosition());
    }

private:
    Progress m_progress;
};

} // namespace

void save(const std::string& path, const std::function<void(CFile&)>& write) {
    try {
        OutputFile target(path);
        write(target);
        target.commit();
    } catch (const FileError&) { // names its file, which may be one that was read
        throw;
    } catch (const CException& e) {
        throw Failure(path, std::string("cannot be written: ") + e.what());
    }
}

void savePackage(const std::string& path, std::int32_t slots, const PackageInfo& info,
                 const std::function<void(PackageWriter&)>& write) {
    save(path, [&](CFile& file) {
        PackageWriter writer(file, slots, info);
        write(writer);
        writer.finish();
    });
}

} // namespace icawave::cli
