// tests/dft/descriptor_test.cpp - the record's layout, its creation and its class table, by the exported names.

#include "dft/descriptor/functions.hpp"
#include "tests/support/backend.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <string>

using namespace vrn::dft;
using vrn::test::kernel;

namespace {

// Every field in the order that both libraries agree on; each begins at its natural alignment after the one before.
TEST(DftDescriptor, FieldsStandInTheirOrder)
{
    std::size_t end = 0;
#define FIELD(f)                                                                                                     \
    {                                                                                                                \
        using T = decltype(descriptor::f);                                                                           \
        const std::size_t expected = (end + alignof(T) - 1) / alignof(T) * alignof(T);                               \
        EXPECT_EQ(offsetof(descriptor, f), expected) << #f;                                                          \
        end = expected + sizeof(T);                                                                                  \
    }
    FIELD(compute_forward)
    FIELD(compute_backward) FIELD(active_method) FIELD(method_state) FIELD(commit_list) FIELD(io_arg_count) FIELD(
        flags) FIELD(magic) FIELD(status) FIELD(user_dims) FIELD(user_batch) FIELD(rank) FIELD(work_rank) FIELD(dims)
        FIELD(batch) FIELD(decommit) FIELD(destroy) FIELD(class_table) FIELD(services) FIELD(name)
            FIELD(inherited_option) FIELD(forward_domain) FIELD(precision) FIELD(number_of_transforms) FIELD(
                complex_storage) FIELD(real_storage) FIELD(conjugate_even_storage) FIELD(placement)
                FIELD(packed_format) FIELD(input_stride) FIELD(output_stride) FIELD(option_inherited_2) FIELD(
                    workspace_policy) FIELD(ordering) FIELD(transpose_policy) FIELD(node_index) FIELD(length)
                    FIELD(saved_real_buffers) FIELD(forward_scale_used) FIELD(backward_scale_used) FIELD(
                        forward_scale_used_single) FIELD(backward_scale_used_single) FIELD(forward_scale)
                        FIELD(backward_scale) FIELD(log2_length) FIELD(input_offset) FIELD(output_offset) FIELD(
                            input_distance) FIELD(output_distance) FIELD(uses_primitive_plan) FIELD(total_elements)
                            FIELD(child) FIELD(backward_kernel) FIELD(forward_kernel) FIELD(parallel_backward)
                                FIELD(parallel_forward) FIELD(real_backward_direct) FIELD(real_forward_direct)
                                    FIELD(two_level_compute) FIELD(real_2d_forward) FIELD(real_2d_backward) FIELD(
                                        real_backward_kernel) FIELD(real_forward_kernel) FIELD(longest_length)
                                        FIELD(plan_complex_single) FIELD(plan_complex_double) FIELD(plan_split_single)
                                            FIELD(plan_split_double) FIELD(plan_real_single) FIELD(plan_real_double)
                                                FIELD(plan_scrambled_single) FIELD(plan_scrambled_double)
                                                    FIELD(node_work_size) FIELD(work_size) FIELD(user_threads)
                                                        FIELD(thread_count) FIELD(thread_limit)
                                                            FIELD(option_inherited_3) FIELD(real_md_pack_flag)
                                                                FIELD(via_2d) FIELD(via_2d_release) FIELD(thread_mode)
#undef FIELD
                                                                    EXPECT_EQ(sizeof(descriptor), (end + 7) / 8 * 8);
    EXPECT_EQ(offsetof(descriptor, status), 52U);
    EXPECT_EQ(offsetof(descriptor, child) % 8, 0U);
    EXPECT_EQ(sizeof(descriptor_class_table), 20 * sizeof(void*));
    EXPECT_EQ(sizeof(dft_thread_services), 12 * sizeof(void*));
    EXPECT_EQ(offsetof(dft_thread_services, pinned), 10 * sizeof(void*));
}

TEST(DftDescriptor, CreatorsAndTheirRefusals)
{
    auto* d1 = kernel<create_1d_function>("vrn_dft_s42_dfti_create_dc1d");
    auto* md = kernel<create_md_function>("vrn_dft_s42_dfti_create_srmd");
    descriptor* d = nullptr;
    EXPECT_EQ(d1(nullptr, 4), bad_configuration);
    EXPECT_EQ(d1(&d, 0), bad_length);
    EXPECT_EQ(d1(&d, -1), bad_length);
    const std::int64_t bad[] = {3, -2}, good[] = {3, 5, 2};
    EXPECT_EQ(md(&d, 0, good), bad_length);
    EXPECT_EQ(md(&d, 2, bad), bad_length);
    EXPECT_EQ(d, nullptr);
    ASSERT_EQ(d1(&d, 1), ok);
    EXPECT_EQ(d->user_dims.count, 1);
    EXPECT_EQ(d->user_dims.at[0].length * 100 + d->user_dims.at[0].input_stride * 10 +
                  d->user_dims.at[0].output_stride,
              111);
    d->destroy(d);
    ASSERT_EQ(md(&d, 3, good), ok);
    EXPECT_EQ(d->precision, precision_single);
    EXPECT_EQ(d->forward_domain, domain_real);
    EXPECT_EQ(d->magic, 5523012);
    EXPECT_EQ(d->user_dims.at[2].output_stride, 15);
    EXPECT_NE(d->services->cache_size, nullptr);
    d->destroy(d);
}

TEST(DftDescriptor, ClassTable)
{
    descriptor* d = nullptr;
    const std::int64_t lengths[] = {4, 6};
    ASSERT_EQ(kernel<create_md_function>("vrn_dft_s42_dfti_create_dcmd")(&d, 2, lengths), ok);
    const descriptor_class_table& t = *d->class_table;
    auto pretend_committed = [d] { d->status = committed; };

    EXPECT_EQ(t.set_name(d, "a name that is long", 19, ' '), ok);
    char name[12] = "...........";
    EXPECT_EQ(t.get_name(d, name, 3), ok);
    EXPECT_EQ(std::string(name, 11), "a n........");
    t.get_name(d, name, 12);
    EXPECT_EQ(std::string(name, 11), "a name tha.");

    pretend_committed();
    EXPECT_EQ(t.set_scale(d, key_forward_scale, 1.0), ok);
    EXPECT_EQ(d->status, committed) << "the same value";
    EXPECT_EQ(t.set_scale(d, key_forward_scale, std::nan("")), ok);
    EXPECT_EQ(d->status, uncommitted);
    pretend_committed();
    EXPECT_EQ(t.set_scale(d, key_forward_scale, std::nan("")), ok);
    EXPECT_EQ(d->status, uncommitted) << "a NaN is never the same";
    EXPECT_EQ(t.set_scale(d, 6, 1.0), bad_configuration);
    EXPECT_EQ(t.set_scale(d, key_backward_scale, 0.25), ok);

    pretend_committed();
    const std::int64_t strides[] = {7, 1, 9};
    EXPECT_EQ(t.set_output_strides(d, strides), ok);
    EXPECT_EQ(d->status, uncommitted);
    std::int64_t read[3] = {};
    t.get_output_strides(d, read);
    EXPECT_EQ(read[0] * 100 + read[1] * 10 + read[2], 719);
    t.get_input_strides(d, read);
    EXPECT_EQ(read[0] * 100 + read[1] * 10 + read[2], 14);
    t.set_number_of_transforms(d, 3);
    t.set_output_distance(d, 50);
    EXPECT_EQ(d->output_distance, 50);
    EXPECT_EQ(t.set_thread_limit(d, -1), bad_configuration);
    EXPECT_EQ(t.set_thread_limit(d, 4), ok);

    descriptor* c = nullptr;
    ASSERT_EQ(t.clone(d, &c), ok);
    EXPECT_EQ(c->status, 0);
    EXPECT_EQ(c->user_dims.at[1].output_stride, 9);
    EXPECT_EQ(c->user_batch.at[0].length, 3);
    EXPECT_EQ(c->backward_scale, 0.25);
    EXPECT_EQ(c->thread_limit, 4);
    d->destroy(d);
    std::int64_t number = 0;
    EXPECT_EQ(c->class_table->get_number_of_transforms(c, &number), ok);
    EXPECT_EQ(number, 3);
    c->destroy(c);
}

} // namespace
