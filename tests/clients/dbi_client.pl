# Perl's DBI with DBD::ODBC. Debian builds it without wide characters: text is UTF-8 bytes on both sides.
use strict;
use warnings;
use DBI qw(:sql_types);
use FindBin;

# A text longer than its described size is an error. LongText makes LongReadLen count instead.
my $dbh = DBI->connect("dbi:ODBC:DSN=clients;LongText=yes", "", "", 
    {LongReadLen => 8000000, RaiseError => 1, PrintError => 0});

sub rows_of {
    open my $file, "<", "$FindBin::Bin/$_[0]" or die;
    my @lines = <$file>;
    chomp @lines;
    return map { [split /\t/, $_, -1] } @lines[1 .. $#lines];
}

sub check {
    my ($got, $wanted) = map { join "|", map { $_ // "NULL" } @$_ } @_;
    die substr($got, 0, 200), " instead of ", substr($wanted, 0, 200), "\n" if $got ne $wanted;
}

sub step {
    my ($name, $function) = @_;
    return if " $ENV{CLIENTS_STEPS} " !~ / $name /;
    my $remark = eval { $function->() };
    my $problem = $@;
    $problem =~ s/\n/ /g;
    print $problem ? "FAILED $name: $problem\n" : "ok $name" . ($remark ? ": $remark" : "") . "\n";
}

sub refused {
    my ($text, $state) = @_;
    eval { $dbh->do($text) };
    check([$dbh->state], [$state]);
}

my @kinds = rows_of("values.tsv");
my @columns = map { $_->[0] } @kinds;
my @nested = map { $_->[1] } rows_of("nested.tsv");
my ($names, $marks) = (join(", ", @columns), join(", ", ("?") x (@columns + 1)));

step("values", sub {
    my $insert = $dbh->prepare("INSERT INTO vhcass_clients.kinds (id, $names) VALUES ($marks)");
    for my $key (1 .. 3) {
        my @values = map { $_->[0] eq "b" ? pack("H*", $_->[$key] // "") : $_->[$key] } @kinds;
        @values = map { undef } @kinds if $key == 3;
        $insert->execute($key, @values);
        check($dbh->selectrow_arrayref("SELECT $names FROM vhcass_clients.kinds WHERE id = ?", undef, $key), \@values);
    }
    return;
});
step("table", sub {
    my $all = $dbh->selectall_arrayref("SELECT id, i, ti, ts, s FROM vhcass_clients.whole");
    check($all->[0], [1, 7, "12:34:56", "1901-02-03 04:05:06", "short"]);
    check($all->[1], [2, undef, "01:02:03", "2024-05-06 07:08:09", "0123456789" x 500]);
    return;
});
step("batch", sub {
    for my $arrays (0, 1) {
        $dbh->do("TRUNCATE vhcass_clients.loaded");
        my $insert = $dbh->prepare("INSERT INTO vhcass_clients.loaded (id, s) VALUES (?, ?)",
            {odbc_array_operations => $arrays, odbc_batch_size => 10});
        my @status;
        eval { $insert->execute_array({ArrayTupleStatus => \@status}, [1, 2, undef, 4], ["one", "two", "bad", "żółć 😀"]) };
        die "no error\n" if !$@;
        check([map { ref $_ ? $_->[2] : "stored" } @status], ["stored", "stored", "22000", "stored"]);
        my $all = $dbh->selectall_arrayref("SELECT id, s FROM vhcass_clients.loaded");
        check([map { @$_ } sort { $a->[0] <=> $b->[0] } @$all], [1, "one", 2, "two", 4, "żółć 😀"]);
    }
    return;
});
step("long", sub {
    for my $length (5000, 5000000) {
        my $text = "ż23456😀890" x ($length / 10);
        $dbh->do("INSERT INTO vhcass_clients.long_texts (id, s) VALUES (?, ?)", undef, $length, $text);
        check($dbh->selectrow_arrayref("SELECT s FROM vhcass_clients.long_texts WHERE id = ?", undef, $length), [$text]);
    }
    return "with LongText and LongReadLen";
});
step("nested", sub {
    my @given = @nested;
    for my $key (1, 2) {
        $dbh->do("INSERT INTO vhcass_clients.nested (id, l, m, t, a) VALUES (?, ?, ?, ?, ?)", undef, $key, @given);
        @given = $dbh->selectrow_array("SELECT l, m, t, a FROM vhcass_clients.nested WHERE id = ?", undef, $key);
        check(\@given, \@nested);
    }
    return;
});
step("errors", sub {
    refused("SELEC 1", "42000");
    refused("SELECT * FROM vhcass_clients.missing", "42S02");
    refused("CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01");
    return;
});
step("lists", sub {
    check([map { $_->[2] } @{$dbh->table_info(undef, "vhcass_clients", "w%", "TABLE")->fetchall_arrayref}], ["whole"]);
    check([map { $_->[3] } @{$dbh->column_info(undef, "vhcass_clients", "whole", "%")->fetchall_arrayref}], ["id", "i", "s", "ti", "ts"]);
    check([$dbh->primary_key(undef, "vhcass_clients", "whole")], ["id"]);
    return;
});
step("plain", sub {
    check([map { @$_ } @{$dbh->selectall_arrayref("SELECT id, s FROM vhcass_clients.plain")}], [1, "one", 2, "two"]);
    eval { $dbh->do("SELEC 1") };
    die "no error\n" if !$@;
    return;
});
