#include "vosk_model.h"

#include "ksr_logger.h"
#include "model_path.h"
#include "vosk_library.h"
#include "vosk/vosk_c_api.h"

namespace Vosk {

Model::Model() { init(); }

Model::~Model()
{
    if (mp_voskModel)
        vosk_model_free(mp_voskModel);
}

void Model::init()
{
    mp_voskModel = nullptr;
    m_sampleRate = 16000;
}

bool Model::initialize(const std::string& path, unsigned int sampleRate)
{
    const std::string problem = libraryProblem();
    if (!problem.empty()) {
        KSR_Logger::Error("Model:  initializeModel: " + problem);
        return false;
    }
    const std::string libraryPath = libraryModelPath(path);
    if (libraryPath.empty() && !path.empty()) {
        KSR_Logger::Error("Model:  initializeModel: libvosk cannot open \"" + path +
                          "\" on this system (a character outside the system code page and no short name): "
                          "move the model to a folder whose path has only such characters");
        return false;
    }
    mp_voskModel = vosk_model_new(libraryPath.c_str());
    if (!mp_voskModel) {
        KSR_Logger::Error("Model:  initializeModel: mp_voskModel is null");
        return false;
    }
    m_sampleRate = sampleRate;
    return true;
}

bool Model::findWord(const std::string& word) const
{
    if (!mp_voskModel) {
        KSR_Logger::Error("Recognizer: findWord: mp_voskModel is null");
        return false;
    }
    return vosk_model_find_word(mp_voskModel, word.c_str()) != -1;
}

unsigned int Model::sampleRate() const { return m_sampleRate; }

}  // namespace Vosk
