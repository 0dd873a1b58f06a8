// Internal. The environment of the shells that ExecShell starts, the same on every box. Variables
// that occur more than once, and entries without "=", are meant: shells take what they take.
#ifndef UTIL_OS_LINUX_SHELLENVIRONMENT_H
#define UTIL_OS_LINUX_SHELLENVIRONMENT_H

#include <cstddef>

// Ends with a null pointer, as execve wants it.
constexpr const char* kShellEnvironment[] = {
    "USER=root",
    "OLDPWD=/etc",
    "HOME=/",
    "TERM=vt102",
    "SHELL=/bin/sh",
    "PWD=/app",
    "PATH=/usr/bin:/bin:/usr/sbin:/sbin:/app:/app/app",
    "STGFB_CORE_DEV_PATH=/dev/stapi/stgfb_core",
    "STDENC_IOCTL_DEV_PATH=/dev/stapi/stdenc_ioctl",
    "USER=root",
    "ST_DEV_ROOT_NAME=stapi",
    "STVMIX_IOCTL_DEV_PATH=/dev/stapi/stvmix_ioctl",
    "STGFB_IOCTL_DEV_PATH=/dev/stapi/stgfb_ioctl",
    "LD_LIBRARY_PATH=/lib:/usr/lib:/app/lib:/usr/local/lib",
    "OLDPWD=/config",
    "HOME=/",
    "STFASTFILTER_IOCTL_DEV_PATH=/dev/stapi/stfastfilter_ioctl",
    "STPTI4_IOCTL_DEV_PATH=/dev/stapi/stpti4_ioctl",
    "STMERGE_IOCTL_DEV_PATH=/dev/stapi/stmerge_ioctl",
    "STHDMI_IOCTL_DEV_PATH=/dev/stapi/sthdmi_ioctl",
    "STCC_IOCTL_DEV_PATH=/dev/stapi/stcc_ioctl",
    "STSYS_IOCTL_DEV_PATH=/dev/stapi/stsys_ioctl",
    "STVOUT_IOCTL_DEV_PATH=/dev/stapi/stvout_ioctl",
    "STTTX_IOCTL_DEV_PATH=/dev/stapi/stttx_ioctl",
    "STBLAST_IOCTL_DEV_PATH=/dev/stapi/stblast_ioctl",
    "STAVMEM_IOCTL_DEV_PATH=/dev/stapi/stavmem_ioctl",
    "STBLIT_IOCTL_DEV_PATH=/dev/stapi/stblit_ioctl",
    "TERM=linux",
    "PATH=/usr/bin:/bin:/usr/sbin:/sbin:/app/program:/app/lib:/app/app",
    "STVBI_IOCTL_DEV_PATH=/dev/stapi/stvbi_ioctl",
    "STLAYER_IOCTL_DEV_PATH=/dev/stapi/stlayer_ioctl",
    "STAUDLX_IOCTL_DEV_PATH=/dev/stapi/staudlx_ioctl",
    "STVID_IOCTL_DEV_PATH=/dev/stapi/stvid_ioctl",
    "STI2C_IOCTL_DEV_PATH=/dev/stapi/sti2c_ioctl",
    "STCLKRV_IOCTL_DEV_PATH=/dev/stapi/stclkrv_ioctl",
    "SHELL=/bin/sh",
    "STPIO_IOCTL_DEV_PATH=/dev/stapi/stpio_ioctl",
    "STSMART_IOCTL_DEV_PATH=/dev/stapi/stsmart_ioctl",
    "STTUNER_DEV_PATH=/dev/stapi/sttuner_ioctl",
    "STVIN_IOCTL_DEV_PATH=/dev/stapi/stvin_ioctl",
    "testmode=2",
    "STEVT_IOCTL_DEV_PATH=/dev/stapi/stevt_ioctl",
    "STVTG_IOCTL_DEV_PATH=/dev/stapi/stvtg_ioctl",
    "STFDMA_IOCTL_DEV_PATH=/dev/stapi/stfdma_ioctl",
    "EDITOR=/bin/vi",
    "HOME=/home/root",
    "LOGNAME=root",
    "OLDPWD=/home/root",
    "OPIEDIR",
    "PATH=/usr/local/bin:/usr/bin:/bin:/usr/local/sbin:/usr/sbin:/sbin",
    "PS1=\\u@\\h:\\w\\$ ",
    "PWD=/app",
    "QPEDIR",
    "QTDIR",
    "SHELL=/bin/sh",
    "TERM=linux",
    "TSLIB_TSDEVICE=/dev/input/touchscreen0",
    "TZ=UTC",
    "USER=root",
    nullptr,
};

// The one entry that differs for a shell that is waited for.
constexpr std::size_t kLibraryPathEntry = 13;
constexpr const char kWaitedLibraryPath[] =
    "LD_LIBRARY_PATH=/lib:/usr/lib:/app/lib:/usr/local/lib:/data/wlan:./";

#endif  // UTIL_OS_LINUX_SHELLENVIRONMENT_H
