#ifndef KSR_TESTS_FAKE_MODEL_H
#define KSR_TESTS_FAKE_MODEL_H

// An acoustic model for the libvosk test double: a folder with the feature
// configuration the interface looks for, named by KALO_ACOUSTIC_MODEL_PATH,
// and the double's vocabulary.

#include <QTemporaryDir>

#include <set>
#include <string>

#include "fake_vosk.h"
#include "interface_test_support.h"

class FakeModel {
public:
    // True when the folder exists and the variable names it.
    bool install(const std::set<std::string>& words = {"open", "file", "north", "literal"})
    {
        FakeVosk::reset();
        {
            std::lock_guard<std::mutex> lock(FakeVosk::mutex());
            FakeVosk::state().vocabulary = words;
        }
        KSR::setResourceDirFunction({});
        if (!m_folder.isValid() ||
            !writeModelFolder(m_folder.path() + "/model", "conf/mfcc.conf", "--sample-frequency=16000\n"))
            return false;
        setModelVariable(m_folder.path() + "/model");
        return true;
    }

    // The variable names a folder that does not exist.
    void remove() { setModelVariable(m_folder.path() + "/nothing-here"); }

    std::string missingPath() const { return (m_folder.path() + "/nothing-here").toStdString(); }

private:
    QTemporaryDir m_folder;
};

#endif
