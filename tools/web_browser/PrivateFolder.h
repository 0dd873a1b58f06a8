// A folder for one run, which goes with everything in it at the end.
#ifndef TOOLS_WEB_BROWSER_PRIVATEFOLDER_H
#define TOOLS_WEB_BROWSER_PRIVATEFOLDER_H

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

class PrivateFolder
{
public:
    PrivateFolder() : mPath(std::filesystem::temp_directory_path() / "html5-video-web-XXXXXX")
    {
        if (mkdtemp(mPath.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), mPath);
        }
    }
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    const std::string& Path() const { return mPath; }

private:
    std::string mPath;
};

#endif  // TOOLS_WEB_BROWSER_PRIVATEFOLDER_H
