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
    "mpegts,mpeg,pva,wtv,ty,dhav,nuv",
    // elementary streams, as recorders and cutting tools take them out of those; AV1's with lengths nobody writes
    "mpegvideo,m4v,h261,h263,h264,hevc,vvc,cavsvideo,avs2,avs3,vc1,vc1test,dirac,obu,ivf",
    // what recordings are kept in, and come from cameras and the web in
    "mov,mp4,matroska,webm,avi,flv,live_flv,asf,asf_o,ogg,nut,rm,nsv,dv",
    // what studios exchange
    "mxf,gxf,lxf,dnxhd",
    // pictures without compression, as tools hand them to each other
    "yuv4mpegpipe",
};

// By the names of codecs, whichever decoder FFmpeg has for them. Beside these there is all that FFmpeg calls lossless.
constexpr const char *kVideoCodecs[] = {
    // broadcasts
    "mpeg1video,mpeg2video,h264,hevc,vvc,av1,cavs,avs2,avs3,vc1,dirac",
    // telephones, cameras, the web and what came before broadcasts were digital
    "h261,h263,h263i,h263p,mpeg4,msmpeg4v1,msmpeg4v2,msmpeg4v3,wmv1,wmv2,wmv3,flv1,theora,vp3,vp4,vp5,vp6,vp6a,vp6f,"
    "vp7,vp8,vp9,rv10,rv20,rv30,rv40,svq1,svq3,cinepak,indeo2,indeo3,indeo4,indeo5,msvideo1,snow,mjpeg,mjpegb,amv,"
    "rpza,smc,ulti,qpeg,vcr1,vixl,wnv1,mimic,fic,mxpeg,sp5x,asv1,asv2,nuv",
    // cameras of tape, cutting and studios
    "dvvideo,prores,dnxhd,cfhd,jpeg2000,hq_hqa,hqx,hap,speedhq,aic,notchlc,pixlet,dxv",
    // the screens of computers
    "flashsv2,mss1,mss2,mts2,tdsc,tscc2,g2m,lscr,rasc,kgv1",
    // without compression, or with little
    "cljr,cyuv,avrn",
};

// What FFmpeg calls lossless and is no video: it stands in files of single pictures, in documents and in games.
constexpr const char *kLosslessButNoVideo[] = {
    // single pictures and animations of the web; PNG stays, which stands in QuickTime files
    "alias_pix,apng,bmp,brender_pix,cri,dds,dpx,exr,fits,gif,jpegxl,jpegxl_anim,pam,pbm,pcx,pfm,pgm,pgmyuv,pgx,phm,ppm",
    "psd,qdraw,qoi,sgi,sunrast,targa,tiff,wbmp,webp,xbm,xpm,xwd",
    // drawings
    "svg",
    // games
    "bmv_video,cdtoons,dxa",
    // pointers into the memory of the program
    "wrapped_avframe",
};

constexpr const char *kSoundCodecs[] = {
    // broadcasts and discs
    "mp1,mp2,mp3,mp3adu,mp3on4,aac,aac_latm,ac3,eac3,ac4,dts,truehd,mlp,s302m,dolby_e,mp4als,mpegh_3d_audio",
    // telephones, cameras and the web
    "opus,vorbis,speex,amr_nb,amr_wb,gsm,gsm_ms,ilbc,qcelp,evrc,g723_1,g729,nellymoser,wmav1,wmav2,wmapro,wmavoice,"
    "qdm2,qdmc,ra_144,ra_288,cook,sipr,siren,atrac1,atrac3,atrac3p,atrac9,imc,iac,mace3,mace6,truespeech,avc,"
    "dvaudio,musepack7,musepack8,metasound,twinvq,sbc,aptx,aptx_hd,codec2,sonic",
    // without loss
    "flac,alac,ape,tak,shorten,wmalossless,tta,wavpack,ralf,atrac3al,atrac3pal,dsd_lsbf,dsd_lsbf_planar,dsd_msbf",
    "dsd_msbf_planar,dst",
};

// Sound without compression, or with little, has a codec for each width and order of its samples.
constexpr const char *kSoundFamilies[] = {"pcm_", "adpcm_"};

template <std::size_t size>
bool isListed(const char *name, const char *const (&groups)[size])
{
    return std::any_of(std::begin(groups), std::end(groups),
                       [name](const char *group) { return av_match_name(name, group) > 0; });
}

bool isWantedVideo(AVCodecID codec)
{
    const char *name = avcodec_get_name(codec);
    const AVCodecDescriptor *facts = avcodec_descriptor_get(codec);
    const bool isLossless = facts && (facts->props & AV_CODEC_PROP_LOSSLESS) != 0;
    return isListed(name, kVideoCodecs) || (isLossless && !isListed(name, kLosslessButNoVideo));
}

bool isWantedSound(AVCodecID codec)
{
    const char *name = avcodec_get_name(codec);
    return isListed(name, kSoundCodecs) ||
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

std::string decoderNames(bool isVideoToo)
{
    std::string list;
    void *position = nullptr;
    while (const AVCodec *codec = av_codec_iterate(&position)) {
        if (isWanted(*codec) && (isVideoToo || codec->type == AVMEDIA_TYPE_AUDIO))
            list += (list.empty() ? "" : ",") + std::string(codec->name);
    }
    return list;
}

const std::string &allDecoderNames()
{
    static const std::string names = decoderNames(true);
    return names;
}

} // namespace

bool isWanted(const AVCodec &codec)
{
    // Of those that the processor does not run itself, or not all of the time, each opens a device.
    if (!av_codec_is_decoder(&codec) || (codec.capabilities & (AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_HYBRID)) != 0)
        return false;
    return (codec.type == AVMEDIA_TYPE_VIDEO && isWantedVideo(codec.id)) ||
           (codec.type == AVMEDIA_TYPE_AUDIO && isWantedSound(codec.id));
}

bool restrictToVideo(AVFormatContext &input)
{
    return av_opt_set(&input, "format_whitelist", containerNames().c_str(), 0) >= 0 &&
           av_opt_set(&input, "codec_whitelist", allDecoderNames().c_str(), 0) >= 0;
}

bool restrictToSound(AVFormatContext &input)
{
    static const std::string names = decoderNames(false);
    return av_opt_set(&input, "codec_whitelist", names.c_str(), 0) >= 0;
}

bool restrictToVideo(AVCodecContext &decoder)
{
    return av_opt_set(&decoder, "codec_whitelist", allDecoderNames().c_str(), 0) >= 0;
}

} // namespace quorvale::ffmpeg
