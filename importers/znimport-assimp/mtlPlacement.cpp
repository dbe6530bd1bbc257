#include "mtlPlacement.h"

#include <algorithm>
#include <assimp/material.h>
#include <charconv>
#include <string>
#include <utility>
#include <vector>

namespace {

std::vector<std::string_view> wordsOf(std::string_view line)
{
    std::vector<std::string_view> words;
    while (!line.empty()) {
        const std::size_t start = line.find_first_not_of(" \t\r");
        if (start == line.npos)
            break;
        line.remove_prefix(start);
        const std::size_t end = std::min(line.find_first_of(" \t\r"), line.size());
        words.push_back(line.substr(0, end));
        line.remove_prefix(end);
    }
    return words;
}

bool isNumber(std::string_view word, float& value)
{
    word.remove_prefix(word.substr(0, 1) == "+" ? 1 : 0);
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

/// Up to three numbers behind an option; those left out keep their value.
void readNumbers(const std::vector<std::string_view>& words, std::size_t at, aiVector2D& values)
{
    float number = 0;
    for (unsigned i = 0; i < 2 && at + i < words.size() && isNumber(words[at + i], number); ++i)
        (i == 0 ? values.x : values.y) = number;
}

aiTextureType typeOf(std::string_view keyword)
{
    const std::pair<const char*, aiTextureType> known[] = {
        {"map_Kd", aiTextureType_DIFFUSE},  {"map_Ks", aiTextureType_SPECULAR},
        {"map_Ke", aiTextureType_EMISSIVE}, {"map_d", aiTextureType_OPACITY},
        {"map_bump", aiTextureType_HEIGHT}, {"map_Bump", aiTextureType_HEIGHT},
        {"bump", aiTextureType_HEIGHT},     {"norm", aiTextureType_NORMALS}};
    for (const auto& [text, type] : known)
        if (keyword == text)
            return type;
    return aiTextureType_NONE;
}

aiMaterial* findMaterial(const aiScene& scene, std::string_view name)
{
    for (unsigned i = 0; i < scene.mNumMaterials; ++i)
        if (scene.mMaterials[i]->GetName().C_Str() == name)
            return scene.mMaterials[i];
    return nullptr;
}

void readMap(aiMaterial& material, const std::vector<std::string_view>& words)
{
    const aiTextureType type = typeOf(words[0]);
    aiUVTransform transform;
    bool isPlaced = false;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == "-s")
            readNumbers(words, i + 1, transform.mScaling);
        else if (words[i] == "-o")
            readNumbers(words, i + 1, transform.mTranslation);
        float amplitude = 1.0f;
        if (words[i] == "-bm" && i + 1 < words.size() && isNumber(words[i + 1], amplitude))
            material.AddProperty(&amplitude, 1, AI_MATKEY_BUMPSCALING);
        isPlaced |= words[i] == "-s" || words[i] == "-o";
    }
    if (type != aiTextureType_NONE && isPlaced)
        material.AddProperty(&transform, 1, AI_MATKEY_UVTRANSFORM(type, 0));
}

} // namespace

void addPlacements(aiScene& scene, std::string_view mtl)
{
    aiMaterial* material = nullptr;
    while (!mtl.empty()) {
        const std::size_t end = std::min(mtl.find('\n'), mtl.size());
        const std::string_view line = mtl.substr(0, end);
        mtl.remove_prefix(std::min(end + 1, mtl.size()));
        const std::vector<std::string_view> words = wordsOf(line);
        if (words.size() < 2)
            continue;
        if (words[0] == "newmtl") // names may have spaces
            material = findMaterial(
                scene, std::string_view(words[1].data(), words.back().data() + words.back().size() -
                                                             words[1].data()));
        else if (material)
            readMap(*material, words);
    }
}
