// Internal. The environment of the shells that ExecShell starts, the same on every box. Variables
// that occur more than once, and entries without "=", are meant: shells take what they take.
#ifndef UTIL_OS_LINUX_SHELLENVIRONMENT_H
#define UTIL_OS_LINUX_SHELLENVIRONMENT_H

#include <cstddef>

// The entries one behind the other, each with its NUL: a table of pointers would have to be
// relocated whenever the library is loaded.
constexpr std::size_t kShellEntries = 59;
constexpr char kShellEnvironment[] =
    "USER=root\0"
    "OLDPWD=/etc\0"
    "HOME=/\0"
    "TERM=vt102\0"
    "SHELL=/bin/sh\0"
    "PWD=/app\0"
    "PATH=/usr/bin:/bin:/usr/sbin:/sbin:/app:/app/app\0"
    "STGFB_CORE_DEV_PATH=/dev/stapi/stgfb_core\0"
    "STDENC_IOCTL_DEV_PATH=/dev/stapi/stdenc_ioctl\0"
    "USER=root\0"
    "ST_DEV_ROOT_NAME=stapi\0"
    "STVMIX_IOCTL_DEV_PATH=/dev/stapi/stvmix_ioctl\0"
    "STGFB_IOCTL_DEV_PATH=/dev/stapi/stgfb_ioctl\0"
    "LD_LIBRARY_PATH\0"  // takes one of the two below
    "OLDPWD=/config\0"
    "HOME=/\0"
    "STFASTFILTER_IOCTL_DEV_PATH=/dev/stapi/stfastfilter_ioctl\0"
    "STPTI4_IOCTL_DEV_PATH=/dev/stapi/stpti4_ioctl\0"
    "STMERGE_IOCTL_DEV_PATH=/dev/stapi/stmerge_ioctl\0"
    "STHDMI_IOCTL_DEV_PATH=/dev/stapi/sthdmi_ioctl\0"
    "STCC_IOCTL_DEV_PATH=/dev/stapi/stcc_ioctl\0"
    "STSYS_IOCTL_DEV_PATH=/dev/stapi/stsys_ioctl\0"
    "STVOUT_IOCTL_DEV_PATH=/dev/stapi/stvout_ioctl\0"
    "STTTX_IOCTL_DEV_PATH=/dev/stapi/stttx_ioctl\0"
    "STBLAST_IOCTL_DEV_PATH=/dev/stapi/stblast_ioctl\0"
    "STAVMEM_IOCTL_DEV_PATH=/dev/stapi/stavmem_ioctl\0"
    "STBLIT_IOCTL_DEV_PATH=/dev/stapi/stblit_ioctl\0"
    "TERM=linux\0"
    "PATH=/usr/bin:/bin:/usr/sbin:/sbin:/app/program:/app/lib:/app/app\0"
    "STVBI_IOCTL_DEV_PATH=/dev/stapi/stvbi_ioctl\0"
    "STLAYER_IOCTL_DEV_PATH=/dev/stapi/stlayer_ioctl\0"
    "STAUDLX_IOCTL_DEV_PATH=/dev/stapi/staudlx_ioctl\0"
    "STVID_IOCTL_DEV_PATH=/dev/stapi/stvid_ioctl\0"
    "STI2C_IOCTL_DEV_PATH=/dev/stapi/sti2c_ioctl\0"
    "STCLKRV_IOCTL_DEV_PATH=/dev/stapi/stclkrv_ioctl\0"
    "SHELL=/bin/sh\0"
    "STPIO_IOCTL_DEV_PATH=/dev/stapi/stpio_ioctl\0"
    "STSMART_IOCTL_DEV_PATH=/dev/stapi/stsmart_ioctl\0"
    "STTUNER_DEV_PATH=/dev/stapi/sttuner_ioctl\0"
    "STVIN_IOCTL_DEV_PATH=/dev/stapi/stvin_ioctl\0"
    "testmode=2\0"
    "STEVT_IOCTL_DEV_PATH=/dev/stapi/stevt_ioctl\0"
    "STVTG_IOCTL_DEV_PATH=/dev/stapi/stvtg_ioctl\0"
    "STFDMA_IOCTL_DEV_PATH=/dev/stapi/stfdma_ioctl\0"
    "EDITOR=/bin/vi\0"
    "HOME=/home/root\0"
    "LOGNAME=root\0"
    "OLDPWD=/home/root\0"
    "OPIEDIR\0"
    "PATH=/usr/local/bin:/usr/bin:/bin:/usr/local/sbin:/usr/sbin:/sbin\0"
    "PS1=\\u@\\h:\\w\\$ \0"
    "PWD=/app\0"
    "QPEDIR\0"
    "QTDIR\0"
    "SHELL=/bin/sh\0"
    "TERM=linux\0"
    "TSLIB_TSDEVICE=/dev/input/touchscreen0\0"
    "TZ=UTC\0"
    "USER=root";

// The one entry that differs for a shell that is waited for.
constexpr std::size_t kLibraryPathEntry = 13;
constexpr char kLibraryPath[] = "LD_LIBRARY_PATH=/lib:/usr/lib:/app/lib:/usr/local/lib";
constexpr char kWaitedLibraryPath[] =
    "LD_LIBRARY_PATH=/lib:/usr/lib:/app/lib:/usr/local/lib:/data/wlan:./";

#endif  // UTIL_OS_LINUX_SHELLENVIRONMENT_H
