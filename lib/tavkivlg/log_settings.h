#ifndef KIVLG_LOG_SETTINGS_H
#define KIVLG_LOG_SETTINGS_H

#include "support/windows_api.h"

namespace kivlg {

struct LogSettings {
    char file[MAX_PATH];  // full path; empty: no log
    unsigned level;       // the highest level that is written; 0: none
    DWORD maxSize;        // bytes; 0: no limit
};

// Each setting by itself comes from the environment, else from the registry, else it is the default; tavkivlg.h names
// them. Registry data of another type or size, text that is no number and paths that are too long count as not set.
// May run under the loader lock: it loads no module.
LogSettings ReadLogSettings() noexcept;

}  // namespace kivlg

#endif
