#include "faults/container_session.h"

namespace eml::test {

EmlResult ContainerSession::open() {
    const HostValue<EmlResult> status(host().ownHeap(), UINT32_MAX);
    context_ = emlInit2(&host().input(), &host().services(), flags(), 0, 0, &*status);
    return *status;
}

void ContainerSession::closeContext() {
    emlShutdown2(context_);
    context_ = nullptr;
}

std::vector<Step> ContainerSession::steps() {
    const HostValue<EmlContainerInfo> info(host().ownHeap());
    (void)emlGetContainerInfo2(context_, &*info, &host().record());
    const auto count = static_cast<int32_t>(info->subFileCount);
    const int32_t message = (flags() & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
    std::vector<Step> steps = {{Call::kQuery}, {Call::kMetadata, message}, {Call::kRequests, message}};
    for (int32_t i = -1; i <= count; ++i) {
        steps.push_back({Call::kDescribe, i});
        if (i != message) steps.push_back({Call::kExtract, i});
    }
    for (const uint32_t options : {0U, EML_EXTRACT_BODY_ONLY}) {
        for (const uint32_t charset : {0U, EML_CHARSET_TEXT_16, EML_CHARSET_UTF_8})
            steps.push_back({Call::kRender, message, options, charset});
        steps.push_back({Call::kRender, message, options | EML_EXTRACT_PREFER_RICH, 0});
    }
    steps.push_back({Call::kLine});
    steps.push_back({Call::kSections});
    return steps;
}

Answer ContainerSession::run(const Step& step) {
    switch (step.call) {
        case Call::kQuery:
            return query();
        case Call::kDescribe:
            return describe(step.number);
        case Call::kMetadata:
            return metadata(false);
        case Call::kRequests:
            return metadata(true);
        case Call::kLine:
            return {static_cast<EmlResult>(eml2GetLine(context_)), ""};
        case Call::kSections:
            emlDebugSections(context_);
            return {};
        default:
            return extract(step);
    }
}

Answer ContainerSession::query() {
    const HostValue<EmlContainerInfo> info(host().ownHeap());
    const EmlResult code = emlGetContainerInfo2(context_, &*info, &host().record());
    return {code, std::to_string(info->subFileCount) + " in charset " + std::to_string(info->charset)};
}

Answer ContainerSession::describe(int32_t number) {
    const HostValue<EmlSubFileInfo> info(host().ownHeap());
    return takeSubFile(emlGetSubFileInfo2(context_, number, &*info, &host().record()), *info);
}

Answer ContainerSession::metadata(bool byName) {
    const int32_t message = (flags() & EML_OPEN_ROOT_FOLDER) != 0 ? 1 : 0;
    const HostValue<EmlMetaData> list(host().ownHeap());
    const Requests requests(host());
    const EmlResult code =
        emlGetSubFileMetadata2(context_, message, byName ? requests.count() : 0,
                               byName ? requests.data() : nullptr, &*list, &host().record());
    return takeMetadata(code, *list);
}

Answer ContainerSession::extract(const Step& step) {
    MemoryOutput output(host());
    const HostValue<EmlExtractInfo> info(host().ownHeap(), {0, step.detail});
    const EmlResult code =
        emlExtractSubFileToIOobj2(context_, step.number, &output.object(), &*info, 0, step.options);
    return takeOutput(code, output, info->resultFlags);
}

}  // namespace eml::test
