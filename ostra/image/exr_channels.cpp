#include "ostra/image/exr_channels.h"

#include <ImfChannelList.h>

#include <set>
#include <vector>

#include "ostra/core/format.h"

OSTRA_UNIT("exr");

namespace ostra {

namespace {

using Names = std::vector<std::string>;

std::string Join(const Names& names) {
  constexpr std::size_t kMaxNames = 20;
  std::string text;
  for (std::size_t i = 0; i < names.size() && i < kMaxNames; ++i) text += (text.empty() ? "" : ", ") + names[i];
  if (names.size() > kMaxNames) text += " and " + std::to_string(names.size() - kMaxNames) + " more";
  return text;
}

// What can stand behind the name of the file: layers, and channels without one.
Names ListNames(const Imf::ChannelList& channels) {
  std::set<std::string> layers;
  channels.layers(layers);
  Names names(layers.begin(), layers.end());
  for (auto channel = channels.begin(); channel != channels.end(); ++channel)
    if (std::string_view(channel.name()).find('.') == std::string_view::npos) names.emplace_back(channel.name());
  return names;
}

// Channels of the layer itself, not of those below it.
Names ListChannels(const Imf::ChannelList& channels, const std::string& prefix) {
  Names names;
  for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
    const std::string_view name = channel.name();
    if (name.starts_with(prefix) && name.find('.', prefix.size()) == std::string_view::npos) names.emplace_back(name);
  }
  return names;
}

// The one channel of a layer without colours, or the channel of that name; empty for none.
std::string FindOnlyChannel(const Imf::ChannelList& channels, const std::string& layer, const Names& own) {
  if (channels.findChannel(layer)) return layer;
  return own.size() == 1 ? own.front() : std::string();
}

Error MakeMissingError(const Imf::ChannelList& channels, const std::string& layer, const Names& own,
                       std::string_view missing) {
  const Names names = ListNames(channels);
  if (!layer.empty() && own.empty())
    return OSTRA_ILLEGAL_ARGUMENT("the OpenEXR picture has no layer \"@\"; it has @.", layer, Join(names));
  if (!layer.empty())
    return OSTRA_ILLEGAL_ARGUMENT("the layer \"@\" of the OpenEXR picture has no channel @; its channels are @.", layer,
                                  missing, Join(own));
  return OSTRA_ILLEGAL_ARGUMENT(
      "the OpenEXR picture has no channel @; it has @. Name one layer or channel behind the name of the file, such as "
      "#@.",
      missing, Join(names), names.empty() ? "R" : names.front());
}

Result<void> CheckResolution(const Imf::ChannelList& channels, const ExrChannels& chosen) {
  for (const std::string& name : chosen.names) {
    const Imf::Channel* channel = channels.findChannel(name);
    if (channel && (channel->xSampling != 1 || channel->ySampling != 1))
      return OSTRA_ILLEGAL_ARGUMENT(
          "channel @ of the OpenEXR picture is stored at a lower resolution, which is not supported.", name);
  }
  return OK;
}

}  // namespace

Result<ExrChannels> ChooseExrChannels(const Imf::ChannelList& channels, std::string_view layerName) {
  const std::string layer(layerName), prefix = layer.empty() ? layer : layer + ".";
  const Names own = ListChannels(channels, prefix);
  ExrChannels chosen;
  const Bool hasRed = channels.findChannel(prefix + "R") != nullptr;
  const std::string only = layer.empty() || hasRed ? std::string() : FindOnlyChannel(channels, layer, own);
  chosen.isGray = !hasRed && (!only.empty() || channels.findChannel(prefix + "Y"));
  for (int i = 0; i < 3; ++i) chosen.names[i] = !only.empty() ? only : prefix + (chosen.isGray ? 'Y' : "RGB"[i]);
  if (only.empty()) chosen.names[3] = prefix + "A";
  for (int i = 0; i < 3; ++i)
    if (!channels.findChannel(chosen.names[i]))
      return MakeMissingError(channels, layer, own, std::string_view("RGB").substr(static_cast<std::size_t>(i), 1));
  chosen.hasAlpha = only.empty() && channels.findChannel(chosen.names[3]);
  OSTRA_RETURN_IF_ERROR(CheckResolution(channels, chosen));
  return chosen;
}

}  // namespace ostra
