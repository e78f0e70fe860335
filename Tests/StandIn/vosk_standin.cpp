// A library with the functions of Vosk that the program uses, for tests. Files in the model's
// folder say what it does:
//   words        hears the next of these with every 160 samples; "|" is a pause that ends a segment
//   answer       what it answers to every question, word for word, in place of JSON with words
//   fail-model, fail-recognizer, fail-accept   makes that call fail

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr int samplesPerWord = 160;

int alive = 0; // models and recognisers
int level = 0;

} // namespace

struct VoskModel
{
    std::filesystem::path folder;
    std::vector<std::string> words;

    [[nodiscard]] bool has(const char *file) const { return exists(folder / file); }
};

struct VoskRecognizer
{
    const VoskModel &model;
    std::size_t heard = 0; // words, pauses among them
    std::size_t begin = 0; // of the segment
    std::string answer;

    const char *say(const char *key, bool isEnd)
    {
        answer = std::string("{ \"") + key + "\" : \"";
        for (std::size_t i = begin; i < heard; ++i)
            answer += model.words[i] == "|" ? "" : model.words[i] + ' ';
        answer += "\" }";
        begin = isEnd ? heard : begin;
        if (model.has("answer"))
            std::getline(std::ifstream(model.folder / "answer"), answer, '\0');
        return answer.c_str();
    }
};

EXPORT void vosk_set_log_level(int wanted)
{
    level = wanted;
}

EXPORT VoskModel *vosk_model_new(const char *folder)
{
    VoskModel model{folder, {}};
    if (level != -1 || model.has("fail-model"))
        return nullptr;
    std::ifstream words(model.folder / "words");
    for (std::string word; words >> word;)
        model.words.push_back(word);
    ++alive;
    return new VoskModel(model);
}

EXPORT void vosk_model_free(VoskModel *model)
{
    alive -= model != nullptr;
    delete model;
}

EXPORT VoskRecognizer *vosk_recognizer_new(VoskModel *model, float sampleRate)
{
    if (sampleRate != 16000.0f || model->has("fail-recognizer"))
        return nullptr;
    ++alive;
    return new VoskRecognizer{*model, 0, 0, {}};
}

EXPORT void vosk_recognizer_free(VoskRecognizer *recognizer)
{
    alive -= recognizer != nullptr;
    delete recognizer;
}

EXPORT void vosk_recognizer_reset(VoskRecognizer *recognizer)
{
    recognizer->heard = recognizer->begin = 0;
}

EXPORT int vosk_recognizer_accept_waveform_s(VoskRecognizer *recognizer, const short *samples,
                                             int count)
{
    const auto &words = recognizer->model.words;
    if (recognizer->model.has("fail-accept") || !samples)
        return -1;
    bool hasPaused = false;
    for (; count >= samplesPerWord && recognizer->heard < words.size(); count -= samplesPerWord)
        hasPaused = words[recognizer->heard++] == "|";
    return hasPaused ? 1 : 0;
}

EXPORT const char *vosk_recognizer_partial_result(VoskRecognizer *recognizer)
{
    return recognizer->say("partial", false);
}

EXPORT const char *vosk_recognizer_result(VoskRecognizer *recognizer)
{
    return recognizer->say("text", true);
}

EXPORT const char *vosk_recognizer_final_result(VoskRecognizer *)
    __attribute__((alias("vosk_recognizer_result")));

/// How many models and recognisers were not freed.
EXPORT int standin_alive()
{
    return alive;
}
