#include "video/ffmpeg/inputformats.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <string>

namespace quorvale::ffmpeg {

namespace {

// Any one of a container's names, as FFmpeg gives them.
constexpr const char *kContainers[] = {
    // what recorders write: transport and program streams, and their older relatives
    "mpegts,mpeg,pva,wtv,ty,dhav",
    // elementary streams, as recorders and cutting tools take them out of those
    "mpegvideo,m4v,h261,h263,h264,hevc,vvc,cavsvideo,avs2,avs3,vc1,vc1test,dirac,obu,av1,ivf",
    // what recordings are kept in, and come from cameras and the web in
    "mov,mp4,matroska,webm,avi,flv,live_flv,asf,asf_o,ogg,nut,rm,nsv,dv",
    // what studios exchange
    "mxf,gxf,lxf,dnxhd",
    // pictures without compression, as tools hand them to each other
    "yuv4mpegpipe",
};

// By the names of codecs, whichever decoder FFmpeg has for them.
constexpr const char *kVideoCodecs[] = {
    // broadcasts
    "mpeg1video,mpeg2video,h264,hevc,vvc,av1,cavs,avs2,avs3,vc1,dirac",
    // telephones, cameras, the web and what came before broadcasts were digital
    "h261,h263,h263i,h263p,mpeg4,msmpeg4v1,msmpeg4v2,msmpeg4v3,wmv1,wmv2,wmv3,flv1,theora,vp3,vp4,vp5,vp6,vp6f,vp7,vp8,"
    "vp9,rv10,rv20,rv30,rv40,svq1,svq3,cinepak,indeo2,indeo3,indeo4,indeo5,msvideo1,snow,mjpeg,mjpegb,amv,8bps",
    // cameras of tape, cutting and studios
    "dvvideo,prores,dnxhd,cfhd,jpeg2000,hq_hqa,hqx,hap,speedhq,aic,notchlc,pixlet",
    // without loss; PNG stands in QuickTime files
    "ffv1,ffvhuff,huffyuv,utvideo,magicyuv,lagarith,loco,qtrle,png,vble,mszh,zlib,sheervideo,hymt,ylc,zerocodec,kgv1,"
    "cscd,tscc,tscc2,fraps,dxtory,rasc,msrle",
    // without compression
    "rawvideo,v210,v210x,v308,v408,v410,r210,r10k,y41p,yuv4,ayuv,012v,avrp,avui,bitpacked,cljr,cyuv",
};

// A recording whose sound cannot be decoded does not open at all, so what television and video tools use is all here.
constexpr const char *kSoundCodecs[] = {
    // broadcasts and discs
    "mp1,mp2,mp3,mp3adu,mp3on4,aac,aac_latm,ac3,eac3,ac4,dts,truehd,mlp,s302m,dolby_e,mp4als",
    // telephones, cameras and the web
    "opus,vorbis,speex,amr_nb,amr_wb,gsm,gsm_ms,qcelp,evrc,g723_1,g729,nellymoser,wmav1,wmav2,wmapro,wmavoice,qdm2,"
    "qdmc,"
    "ra_144,ra_288,cook,sipr,atrac1,atrac3,atrac3p,imc,iac,mace3,mace6,truespeech,on2avc,dvaudio",
    // without loss
    "flac,alac,wmalossless,tta,wavpack,ralf",
};

// Sound without compression, or with little, has a codec for each width and order of its samples.
constexpr const char *kSoundFamilies[] = {"pcm_", "adpcm_"};

bool isListed(const char *name, const char *const *begin, const char *const *end)
{
    return std::any_of(begin, end, [name](const char *group) { return av_match_name(name, group) > 0; });
}

bool isWanted(const AVCodec &codec)
{
    // Of those that the processor does not run itself, each opens a device.
    if (!av_codec_is_decoder(&codec) || (codec.capabilities & AV_CODEC_CAP_HARDWARE) != 0)
        return false;
    const char *name = avcodec_get_name(codec.id);
    if (codec.type == AVMEDIA_TYPE_VIDEO)
        return isListed(name, std::begin(kVideoCodecs), std::end(kVideoCodecs));
    if (codec.type != AVMEDIA_TYPE_AUDIO)
        return false;
    return isListed(name, std::begin(kSoundCodecs), std::end(kSoundCodecs)) ||
           std::any_of(std::begin(kSoundFamilies), std::end(kSoundFamilies),
                       [name](const char *family) { return std::strncmp(name, family, std::strlen(family)) == 0; });
}

const std::string &containerNames()
{
    static const std::string names = [] {
        std::string list;
        for (const char *group : kContainers)
            list += (list.empty() ? "" : ",") + std::string(group);
        return list;
    }();
    return names;
}

const std::string &decoderNames()
{
    static const std::string names = [] {
        std::string list;
        void *position = nullptr;
        while (const AVCodec *codec = av_codec_iterate(&position)) {
            if (isWanted(*codec))
                list += (list.empty() ? "" : ",") + std::string(codec->name);
        }
        return list;
    }();
    return names;
}

} // namespace

bool restrictToVideo(AVFormatContext &input)
{
    return av_opt_set(&input, "format_whitelist", containerNames().c_str(), 0) >= 0 &&
           av_opt_set(&input, "codec_whitelist", decoderNames().c_str(), 0) >= 0;
}

bool restrictToVideo(AVCodecContext &decoder)
{
    return av_opt_set(&decoder, "codec_whitelist", decoderNames().c_str(), 0) >= 0;
}

} // namespace quorvale::ffmpeg
